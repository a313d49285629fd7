// Login and logout end to end: the session database, the cookie, the
// answer, and what each failure leaves behind.
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <fstream>
#include <regex>

#include "support/camera.h"
#include "support/session.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace test {
namespace {

using AccessLogin = SharedRootTest;
using AccessLogout = SharedRootTest;

constexpr char kAddr[] = "10.1.2.3";
constexpr unsigned long long kDayMs = 86400000ull;

unsigned long long wallMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

time_t parseCookieDate(std::string const& text) {
  struct tm parts {};
  char const* end = strptime(text.c_str(), "%a, %d %b %Y %H:%M:%S GMT", &parts);
  EXPECT_TRUE(end && *end == '\0') << text;
  return timegm(&parts);
}

TEST_F(AccessLogin, SetsTheCookieAndStoresTheSession) {
  CameraRoot const& root = sharedRoot_;
  unsigned long long before = wallMs();
  CgiResult answer = login(root, credentials("admin", "admin"));
  unsigned long long after = wallMs();
  ASSERT_EQ(answer.status, "200");
  EXPECT_EQ(answer.exitCode, 0);
  std::string cookie = answer.header("Set-Cookie").value_or("");
  std::smatch match;
  std::regex shape(
      "authId=([A-Za-z0-9]{32}); Path=/; Expires=((Mon|Tue|Wed|Thu|Fri|Sat|Sun), [0-9]{2} "
      "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2} "
      "GMT); Max-Age=86400; Version=1; HttpOnly; SameSite=Strict");
  ASSERT_TRUE(std::regex_match(cookie, match, shape)) << cookie;
  time_t expires = parseCookieDate(match[2]);
  EXPECT_GE(expires, static_cast<time_t>(before / 1000) + 86400);
  EXPECT_LE(expires, static_cast<time_t>(after / 1000) + 86401);

  auto sessions = readSessions(root);
  ASSERT_EQ(sessions.size(), 1u);
  ASSERT_EQ(sessions.count(match[1]), 1u);
  SessionRecord record = sessions[match[1]];
  EXPECT_EQ(record.remoteAddr, kAddr);
  EXPECT_GE(record.maxAge, before + kDayMs);
  EXPECT_LE(record.maxAge, after + kDayMs);
  // Styled (indented) output.
  EXPECT_NE(root.read("/tmp/.rest/.rest_0_1.db").find("\n  \""), std::string::npos);
}

TEST_F(AccessLogin, ExpiryFollowsTheCameraClock) {
  CameraRoot const& root = sharedRoot_;
  moveClock("+1000");
  unsigned long long before = wallMs();
  CgiResult answer = login(root, credentials("admin", "admin"));
  ASSERT_EQ(answer.status, "200");
  auto sessions = readSessions(root);
  ASSERT_EQ(sessions.size(), 1u);
  EXPECT_GE(sessions.begin()->second.maxAge, before + 1000000 + kDayMs);
}

TEST_F(AccessLogin, Version01AnswersTheVersion01StatusDocument) {
  CameraRoot const& root = sharedRoot_;
  CgiResult answer = login(root, credentials("admin", "admin"), "0.1");
  ASSERT_EQ(answer.status, "200");
  EXPECT_EQ(answer.header("Content-Type").value_or(""), "application/json");
  orvo::variant::Variant body;
  ASSERT_TRUE(body.FromJSON(answer.body)) << answer.body;
  EXPECT_EQ(body.KeysCount(), 3u) << answer.body;
  for (char const* key : {"fwver", "mac", "model"}) {
    EXPECT_NE(body.GetKeyChain(orvo::variant::VT_STRING, key, false), nullptr) << key;
  }
  // The same document the status endpoint gives for the session.
  CgiResult status = callCgi(root, {"GET", "0.1/status", "", kAddr,
                                    "authId=" + cookieId(answer)});
  EXPECT_EQ(status.status, "200");
  EXPECT_EQ(status.body, answer.body);
}

TEST_F(AccessLogin, TokenWinsOverPassword) {
  CameraRoot const& root = sharedRoot_;
  setToken("tok-123");
  FakeAvclient avclient(root, true);
  std::string tokenAndWrongPassword =
      "{\"authToken\":\"tok-123\",\"username\":\"admin\",\"password\":\"wrong\"}";
  EXPECT_EQ(login(root, tokenAndWrongPassword).status, "200");
  std::string wrongTokenAndPassword =
      "{\"authToken\":\"tok-999\",\"username\":\"admin\",\"password\":\"admin\"}";
  EXPECT_EQ(login(root, wrongTokenAndPassword).status, "401");
  EXPECT_EQ(countLogged("PasswordAuthentication"), 0u);
}

TEST_F(AccessLogin, OnlyUserNameFailsAndIsRecorded) {
  CameraRoot const& root = sharedRoot_;
  CgiResult answer = login(root, "{\"username\":\"admin\"}");
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(answer.exitCode, 0);
  auto records = readBtmp(root);
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(utmpText(records[0].ut_user, sizeof records[0].ut_user), "admin");
  EXPECT_TRUE(logged("rest_login info orvo_cgi: src/rest_login:Login: Authenticate failed"));
  EXPECT_TRUE(logged("rest_login info orvo_cgi: src/rest_login:Login: "
                            "method 'POST', remote addr '10.1.2.3'"));
  // The password check is not even tried.
  EXPECT_EQ(countLogged("parameter is missing"), 0u);
  EXPECT_FALSE(std::ifstream(root.file("/tmp/.rest/.rest_0_1.db")).good());
}

TEST_F(AccessLogin, EmptyRemoteAddressAnswers500) {
  CameraRoot const& root = sharedRoot_;
  CgiResult answer = login(root, credentials("admin", "admin"), "0.1", "");
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  EXPECT_FALSE(answer.header("Set-Cookie").has_value());
  EXPECT_TRUE(logged("rest_login err orvo_cgi: src/rest_login:CreateSession: "
                            "IP address is missing"));
}

TEST_F(AccessLogin, ALoginADayLaterPrunesExpiredSessions) {
  CameraRoot const& root = sharedRoot_;
  std::string first = cookieId(login(root, credentials("admin", "admin")));
  std::string second = cookieId(login(root, credentials("admin", "admin")));
  auto sessions = readSessions(root);
  ASSERT_EQ(sessions.size(), 2u);
  EXPECT_EQ(sessions.count(first) + sessions.count(second), 2u);
  moveClock("+86401");
  std::string third = cookieId(login(root, credentials("admin", "admin")));
  sessions = readSessions(root);
  ASSERT_EQ(sessions.size(), 1u);
  EXPECT_EQ(sessions.count(third), 1u);
}

TEST_F(AccessLogin, GetOnLoginAnswers500) {
  CameraRoot const& root = sharedRoot_;
  CgiResult answer = callCgi(root, {"GET", "1.2/login", "", kAddr, ""});
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.exitCode, 255);
  EXPECT_TRUE(logged("rest_login err orvo_cgi: src/rest_login:rest_login_main: "
                            "Cannot process 'GET' request"));
}

TEST_F(AccessLogout, RemovesTheSessionAndClosesIt) {
  CameraRoot const& root = sharedRoot_;
  std::string id = cookieId(login(root, credentials("admin", "admin")));
  std::string other = cookieId(login(root, credentials("admin", "admin")));
  // From any address: logout does not look at it.
  CgiResult answer = callCgi(root, {"POST", "1.2/logout", "", "10.7.7.7", "authId=" + id});
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "");
  EXPECT_FALSE(answer.header("Set-Cookie").has_value());
  auto sessions = readSessions(root);
  EXPECT_EQ(sessions.count(id), 0u);
  EXPECT_EQ(sessions.count(other), 1u);
  EXPECT_EQ(callCgi(root, {"GET", "0.1/status", "", kAddr, "authId=" + id}).status, "401");
}

TEST_F(AccessLogout, UnknownIdentifierAnswers500AndLeavesTheFile) {
  CameraRoot const& root = sharedRoot_;
  login(root, credentials("admin", "admin"));
  std::string before = root.read("/tmp/.rest/.rest_0_1.db");
  CgiResult answer = callCgi(root, {"POST", "1.2/logout", "", kAddr, "authId=nobody"});
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(root.read("/tmp/.rest/.rest_0_1.db"), before);
  EXPECT_TRUE(logged("rest_login err orvo_cgi: src/rest_login:Logout: "
                            "No record for UUID 'nobody' found"));
}

TEST_F(AccessLogout, WithoutCookieAnswers500) {
  CameraRoot const& root = sharedRoot_;
  CgiResult answer = callCgi(root, {"POST", "1.2/logout", "", kAddr, ""});
  EXPECT_EQ(answer.status, "500");
  EXPECT_TRUE(logged("rest_login err orvo_cgi: src/rest_login:Logout: "
                            "IP address and/or uuid cookie is empty"));
}

TEST_F(AccessLogout, NotOfferedInVersion01) {
  CameraRoot const& root = sharedRoot_;
  // "logout" is not registered for 0.1: the dispatcher refuses first.
  CgiResult answer = callCgi(root, {"POST", "0.1/logout", "", kAddr, "authId=x"});
  EXPECT_EQ(answer.status, "500");
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:processRestRequest: "
                            "Endpoint 'logout' doesn't support version '0.1'"));
}

}  // namespace
}  // namespace test
}  // namespace orvo
