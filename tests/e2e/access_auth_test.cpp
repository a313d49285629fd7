// Request authentication end to end: the session cookie, the password and
// the auth token in front of the endpoints, as rest.cgi runs them.
#include <gtest/gtest.h>

#include <fstream>

#include "support/camera.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

using AccessPassword = SharedRootTest;
using AccessSession = SharedRootTest;
using AccessToken = SharedRootTest;

constexpr char kAddr[] = "10.1.2.3";

TEST_F(AccessSession, NoDatabaseAnswers401WithoutSessionLines) {
  CameraRoot const& root = sharedRoot_;
  CgiResult answer = sessionRequest(root, "abc");
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(countLogged(":AuthenticateByUUID:"), 0u);
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:processRestRequest: "
                            "Not yet authenticated to process 'status' request"));
}

TEST_F(AccessSession, CookieFromAnotherAddressIsRefused) {
  CameraRoot const& root = sharedRoot_;
  std::string id = loginId(root, "10.1.2.3");
  ASSERT_EQ(id.size(), 32u);
  CgiResult answer = sessionRequest(root, id, "10.9.9.9");
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: "
                            "IP addresses do not match: 10.1.2.3 <-> 10.9.9.9 "
                            "(old auth data received?)"));
}

TEST_F(AccessSession, UnknownCookieIsRefused) {
  CameraRoot const& root = sharedRoot_;
  loginId(root);
  CgiResult answer = sessionRequest(root, "NotARealSession");
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: "
                            "No record for UUID 'NotARealSession' found "
                            "(old auth data received?)"));
}

TEST_F(AccessSession, MissingCookieIsRefused) {
  CameraRoot const& root = sharedRoot_;
  loginId(root);
  EXPECT_EQ(sessionRequest(root, "").status, "401");
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: "
                            "IP address and/or authId cookie is empty"));
}

TEST_F(AccessSession, OldRecordStillOpensWhileInTheFile) {
  CameraRoot const& root = sharedRoot_;
  std::string id = loginId(root);
  moveClock("+" + std::to_string(3 * 86400));
  CgiResult answer = sessionRequest(root, id);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(countLogged("Not yet authenticated"), 0u);
  EXPECT_EQ(countLogged(":AuthenticateByUUID:"), 0u);
}

TEST_F(AccessSession, UnreadableDatabaseIsRefused) {
  CameraRoot const& root = sharedRoot_;
  loginId(root);
  {
    std::ofstream(root.file("/tmp/.rest/.rest_0_1.db"), std::ios::trunc) << "{ not json";
  }
  EXPECT_EQ(sessionRequest(root, "x").status, "401");
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: "
                            "Failed to read auth database (possibly not yet authenticated)"));
}

TEST_F(AccessPassword, SnapshotWithoutBodyLogsMissingUserBeforeSessionCheck) {
  CameraRoot const& root = sharedRoot_;
  loginId(root);  // so that the session check has a database to read
  CgiResult answer = callCgi(root, {"GET", "1.2/snapshot", "", kAddr, ""});
  EXPECT_EQ(answer.status, "401");
  auto lines = logSummaries();
  auto find = [&](std::string const& text) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
      if (lines[i].find(text) != std::string::npos) return static_cast<long>(i);
    }
    return -1L;
  };
  long missing = find("src/rest:PasswordAuthentication: 'username' parameter is missing");
  long session = find("src/rest:AuthenticateByUUID: IP address and/or authId cookie is empty");
  ASSERT_GE(missing, 0);
  ASSERT_GE(session, 0);
  EXPECT_LT(missing, session);
}

TEST_F(AccessPassword, MissingPasswordIsLogged) {
  CameraRoot const& root = sharedRoot_;
  CgiResult answer = callCgi(root, {"POST", "1.2/snapshot", "{\"username\":\"admin\"}", kAddr, ""});
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:PasswordAuthentication: "
                            "'password' parameter is missing"));
}

TEST_F(AccessPassword, WrongPasswordIsLoggedWithTheName) {
  CameraRoot const& root = sharedRoot_;
  callCgi(root, {"POST", "1.2/snapshot", credentials("admin", "nope"), kAddr, ""});
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:PasswordAuthentication: "
                            "Password check failure for username 'admin'"));
  // A wrong password on any endpoint counts towards the login lockdown.
  auto const records = readBtmp(root);
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(utmpText(records[0].ut_user, sizeof records[0].ut_user), "admin");
}

TEST_F(AccessPassword, NonStringPasswordCountsAsMissing) {
  CameraRoot const& root = sharedRoot_;
  callCgi(root, {"POST", "1.2/snapshot", "{\"username\":\"admin\",\"password\":5}", kAddr, ""});
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:PasswordAuthentication: "
                            "'password' parameter is missing"));
}

TEST_F(AccessPassword, CorrectPasswordEmptiesFailedLogins) {
  CameraRoot const& root = sharedRoot_;
  login(root, credentials("admin", "x"));
  login(root, credentials("admin", "y"));
  ASSERT_EQ(readBtmp(root).size(), 2u);
  CgiResult answer = callCgi(root, {"POST", "1.2/snapshot", credentials("admin", "admin"), kAddr, ""});
  // Past the authenticators: the snapshot endpoint answers, and this root
  // has no picture.
  EXPECT_EQ(answer.status, "404");
  EXPECT_EQ(root.read("/var/log/btmp"), "");
  EXPECT_EQ(countLogged("Not yet authenticated"), 0u);
}

TEST_F(AccessToken, RefusedWhenAvclientCannotBeReached) {
  CameraRoot const& root = sharedRoot_;
  setToken("tok-123");
  CgiResult answer = login(root, "{\"authToken\":\"tok-123\"}");
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(logged("rest_login err orvo_cgi: src/rest:isAdopted: "
                            "Unable to send IPC to orvo_avclient"));
  EXPECT_EQ(countLogged("AuthTokenAuthentication"), 0u);
}

TEST_F(AccessToken, RefusedWhileNotAdopted) {
  CameraRoot const& root = sharedRoot_;
  setToken("tok-123");
  FakeAvclient avclient(root, false);
  CgiResult answer = login(root, "{\"authToken\":\"tok-123\"}");
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(countLogged("Unable to send IPC"), 0u);
  EXPECT_EQ(countLogged("AuthTokenAuthentication"), 0u);
  EXPECT_EQ(readBtmp(root).size(), 1u);
}

TEST_F(AccessToken, AcceptedWhileAdoptedAndEmptiesFailedLogins) {
  CameraRoot const& root = sharedRoot_;
  setToken("tok-123");
  login(root, credentials("admin", "x"));
  ASSERT_EQ(readBtmp(root).size(), 1u);
  FakeAvclient avclient(root, true);
  CgiResult answer = login(root, "{\"authToken\":\"tok-123\"}");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(cookieId(answer).size(), 32u);
  EXPECT_EQ(root.read("/var/log/btmp"), "");
}

TEST_F(AccessToken, WrongTokenIsLoggedWithoutItsValue) {
  CameraRoot const& root = sharedRoot_;
  setToken("tok-123");
  FakeAvclient avclient(root, true);
  CgiResult answer = login(root, "{\"authToken\":\"tok-124\"}");
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(logged("rest_login err orvo_cgi: src/rest:AuthTokenAuthentication: "
                            "authToken '********' check failure"));
  EXPECT_EQ(countLogged("tok-124"), 0u);
}

TEST_F(AccessToken, OpensSnapshotOnlyAfterPasswordAndSessionRefused) {
  CameraRoot const& root = sharedRoot_;
  setToken("tok-123");
  FakeAvclient avclient(root, true);
  CgiResult answer = callCgi(root, {"POST", "1.2/snapshot", "{\"authToken\":\"tok-123\"}", kAddr, ""});
  EXPECT_EQ(answer.status, "404");  // past the authenticators, as above
  EXPECT_EQ(countLogged("Not yet authenticated"), 0u);
  // A token never opens a session-only endpoint.
  CgiResult status = callCgi(root, {"POST", "0.1/status", "{\"authToken\":\"tok-123\"}", kAddr, ""});
  EXPECT_EQ(status.status, "401");
}

}  // namespace
}  // namespace test
}  // namespace orvo
