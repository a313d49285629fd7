// Request authentication end to end: the session cookie, the password and
// the auth token in front of the endpoints, as rest.cgi runs them.
#include <gtest/gtest.h>

#include <fstream>

#include "access_support.h"

namespace orvo {
namespace e2e {
namespace {

constexpr char kAddr[] = "10.1.2.3";

std::string loginCookie(CameraRoot const& root, std::string const& addr = kAddr) {
  CgiAnswer answer = login(root, credentials("admin", "admin"), "0.1", addr);
  EXPECT_EQ(answer.status, "200");
  return cookieId(answer.headers["Set-Cookie"]);
}

// A session-only endpoint; the version-0.1 status needs no daemon.
CgiAnswer sessionRequest(CameraRoot const& root, std::string const& id,
                         std::string const& addr = kAddr) {
  return callCgi(root, {"GET", "0.1/status", "", addr, id.empty() ? "" : "authId=" + id});
}

TEST(AccessSession, NoDatabaseAnswers401WithoutSessionLines) {
  CameraRoot root;
  CgiAnswer answer = sessionRequest(root, "abc");
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(countLines(root, ":AuthenticateByUUID:"), 0u);
  EXPECT_TRUE(hasLine(root, "orvo_cgi err orvo_cgi: src/rest:processRestRequest: "
                            "Not yet authenticated to process 'status' request"));
}

TEST(AccessSession, CookieFromAnotherAddressIsRefused) {
  CameraRoot root;
  std::string id = loginCookie(root, "10.1.2.3");
  ASSERT_EQ(id.size(), 32u);
  CgiAnswer answer = sessionRequest(root, id, "10.9.9.9");
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(hasLine(root, "orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: "
                            "IP addresses do not match: 10.1.2.3 <-> 10.9.9.9 "
                            "(old auth data received?)"));
}

TEST(AccessSession, UnknownCookieIsRefused) {
  CameraRoot root;
  loginCookie(root);
  CgiAnswer answer = sessionRequest(root, "NotARealSession");
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(hasLine(root, "orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: "
                            "No record for UUID 'NotARealSession' found "
                            "(old auth data received?)"));
}

TEST(AccessSession, MissingCookieIsRefused) {
  CameraRoot root;
  loginCookie(root);
  EXPECT_EQ(sessionRequest(root, "").status, "401");
  EXPECT_TRUE(hasLine(root, "orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: "
                            "IP address and/or authId cookie is empty"));
}

TEST(AccessSession, OldRecordStillOpensWhileInTheFile) {
  CameraRoot root;
  std::string id = loginCookie(root);
  moveClock(root, "+" + std::to_string(3 * 86400));
  CgiAnswer answer = sessionRequest(root, id);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(countLines(root, "Not yet authenticated"), 0u);
  EXPECT_EQ(countLines(root, ":AuthenticateByUUID:"), 0u);
}

TEST(AccessSession, UnreadableDatabaseIsRefused) {
  CameraRoot root;
  loginCookie(root);
  {
    std::ofstream(root.file("/tmp/.rest_0_1.db"), std::ios::trunc) << "{ not json";
  }
  EXPECT_EQ(sessionRequest(root, "x").status, "401");
  EXPECT_TRUE(hasLine(root, "orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: "
                            "Failed to read auth database (possibly not yet authenticated)"));
}

TEST(AccessPassword, SnapshotWithoutBodyLogsMissingUserBeforeSessionCheck) {
  CameraRoot root;
  loginCookie(root);  // so that the session check has a database to read
  CgiAnswer answer = callCgi(root, {"GET", "1.2/snapshot", "", kAddr, ""});
  EXPECT_EQ(answer.status, "401");
  auto lines = summaries(root);
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

TEST(AccessPassword, MissingPasswordIsLogged) {
  CameraRoot root;
  CgiAnswer answer = callCgi(root, {"POST", "1.2/snapshot", "{\"username\":\"admin\"}", kAddr, ""});
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(hasLine(root, "orvo_cgi err orvo_cgi: src/rest:PasswordAuthentication: "
                            "'password' parameter is missing"));
}

TEST(AccessPassword, WrongPasswordIsLoggedWithTheName) {
  CameraRoot root;
  callCgi(root, {"POST", "1.2/snapshot", credentials("admin", "nope"), kAddr, ""});
  EXPECT_TRUE(hasLine(root, "orvo_cgi err orvo_cgi: src/rest:PasswordAuthentication: "
                            "Password check failure for username 'admin'"));
  // The password check of other endpoints records no failure.
  EXPECT_TRUE(readBtmp(root).empty());
}

TEST(AccessPassword, NonStringPasswordCountsAsMissing) {
  CameraRoot root;
  callCgi(root, {"POST", "1.2/snapshot", "{\"username\":\"admin\",\"password\":5}", kAddr, ""});
  EXPECT_TRUE(hasLine(root, "orvo_cgi err orvo_cgi: src/rest:PasswordAuthentication: "
                            "'password' parameter is missing"));
}

TEST(AccessPassword, CorrectPasswordEmptiesFailedLogins) {
  CameraRoot root;
  login(root, credentials("admin", "x"));
  login(root, credentials("admin", "y"));
  ASSERT_EQ(readBtmp(root).size(), 2u);
  CgiAnswer answer = callCgi(root, {"POST", "1.2/snapshot", credentials("admin", "admin"), kAddr, ""});
  EXPECT_NE(answer.status, "401");
  EXPECT_EQ(readFileText(root.file("/var/log/btmp")), "");
  EXPECT_EQ(countLines(root, "Not yet authenticated"), 0u);
}

TEST(AccessToken, RefusedWhenAvclientCannotBeReached) {
  CameraRoot root;
  setToken(root, "tok-123");
  CgiAnswer answer = login(root, "{\"authToken\":\"tok-123\"}");
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(hasLine(root, "rest_login err orvo_cgi: src/rest:isAdopted: "
                            "Unable to send IPC to orvo_avclient"));
  EXPECT_EQ(countLines(root, "AuthTokenAuthentication"), 0u);
}

TEST(AccessToken, RefusedWhileNotAdopted) {
  CameraRoot root;
  setToken(root, "tok-123");
  FakeAvclient avclient(root, false);
  CgiAnswer answer = login(root, "{\"authToken\":\"tok-123\"}");
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(countLines(root, "Unable to send IPC"), 0u);
  EXPECT_EQ(countLines(root, "AuthTokenAuthentication"), 0u);
  EXPECT_EQ(readBtmp(root).size(), 1u);
}

TEST(AccessToken, AcceptedWhileAdoptedAndEmptiesFailedLogins) {
  CameraRoot root;
  setToken(root, "tok-123");
  login(root, credentials("admin", "x"));
  ASSERT_EQ(readBtmp(root).size(), 1u);
  FakeAvclient avclient(root, true);
  CgiAnswer answer = login(root, "{\"authToken\":\"tok-123\"}");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(cookieId(answer.headers["Set-Cookie"]).size(), 32u);
  EXPECT_EQ(readFileText(root.file("/var/log/btmp")), "");
}

TEST(AccessToken, WrongTokenIsLogged) {
  CameraRoot root;
  setToken(root, "tok-123");
  FakeAvclient avclient(root, true);
  CgiAnswer answer = login(root, "{\"authToken\":\"tok-124\"}");
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(hasLine(root, "rest_login err orvo_cgi: src/rest:AuthTokenAuthentication: "
                            "authToken 'tok-124' check failure"));
}

TEST(AccessToken, OpensSnapshotOnlyAfterPasswordAndSessionRefused) {
  CameraRoot root;
  setToken(root, "tok-123");
  FakeAvclient avclient(root, true);
  CgiAnswer answer = callCgi(root, {"POST", "1.2/snapshot", "{\"authToken\":\"tok-123\"}", kAddr, ""});
  EXPECT_NE(answer.status, "401");
  EXPECT_EQ(countLines(root, "Not yet authenticated"), 0u);
  // A token never opens a session-only endpoint.
  CgiAnswer status = callCgi(root, {"POST", "0.1/status", "{\"authToken\":\"tok-123\"}", kAddr, ""});
  EXPECT_EQ(status.status, "401");
}

}  // namespace
}  // namespace e2e
}  // namespace orvo
