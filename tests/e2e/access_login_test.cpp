// Login and logout end to end: the session database, the cookie, the
// answer, and what each failure leaves behind.
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <fstream>
#include <regex>

#include "access_support.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace e2e {
namespace {

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

TEST(AccessLogin, SetsTheCookieAndStoresTheSession) {
  CameraRoot root;
  unsigned long long before = wallMs();
  CgiAnswer answer = login(root, credentials("admin", "admin"));
  unsigned long long after = wallMs();
  ASSERT_EQ(answer.status, "200");
  EXPECT_EQ(answer.exitCode, 0);
  std::string cookie = answer.headers["Set-Cookie"];
  std::smatch match;
  std::regex shape(
      "authId=([A-Za-z0-9]{32}); Path=/; Expires=((Mon|Tue|Wed|Thu|Fri|Sat|Sun), [0-9]{2} "
      "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2} "
      "GMT); Max-Age=86400; Version=1; HttpOnly");
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
  EXPECT_NE(readFileText(root.file("/tmp/.rest_0_1.db")).find("\n  \""), std::string::npos);
}

TEST(AccessLogin, ExpiryFollowsTheCameraClock) {
  CameraRoot root;
  moveClock(root, "+1000");
  unsigned long long before = wallMs();
  CgiAnswer answer = login(root, credentials("admin", "admin"));
  ASSERT_EQ(answer.status, "200");
  auto sessions = readSessions(root);
  ASSERT_EQ(sessions.size(), 1u);
  EXPECT_GE(sessions.begin()->second.maxAge, before + 1000000 + kDayMs);
}

TEST(AccessLogin, Version01AnswersTheVersion01StatusDocument) {
  CameraRoot root;
  CgiAnswer answer = login(root, credentials("admin", "admin"), "0.1");
  ASSERT_EQ(answer.status, "200");
  EXPECT_EQ(answer.headers["Content-Type"], "application/json");
  orvo::variant::Variant body;
  ASSERT_TRUE(body.FromJSON(answer.body)) << answer.body;
  EXPECT_EQ(body.KeysCount(), 3u) << answer.body;
  for (char const* key : {"fwver", "mac", "model"}) {
    EXPECT_NE(body.GetKeyChain(orvo::variant::VT_STRING, key, false), nullptr) << key;
  }
  // The same document the status endpoint gives for the session.
  CgiAnswer status = callCgi(root, {"GET", "0.1/status", "", kAddr,
                                    "authId=" + cookieId(answer.headers["Set-Cookie"])});
  EXPECT_EQ(status.status, "200");
  EXPECT_EQ(status.body, answer.body);
}

TEST(AccessLogin, TokenWinsOverPassword) {
  CameraRoot root;
  setToken(root, "tok-123");
  FakeAvclient avclient(root, true);
  std::string tokenAndWrongPassword =
      "{\"authToken\":\"tok-123\",\"username\":\"admin\",\"password\":\"wrong\"}";
  EXPECT_EQ(login(root, tokenAndWrongPassword).status, "200");
  std::string wrongTokenAndPassword =
      "{\"authToken\":\"tok-999\",\"username\":\"admin\",\"password\":\"admin\"}";
  EXPECT_EQ(login(root, wrongTokenAndPassword).status, "401");
  EXPECT_EQ(countLines(root, "PasswordAuthentication"), 0u);
}

TEST(AccessLogin, OnlyUserNameFailsAndIsRecorded) {
  CameraRoot root;
  CgiAnswer answer = login(root, "{\"username\":\"admin\"}");
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(answer.exitCode, 0);
  auto records = readBtmp(root);
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(utmpText(records[0].ut_user, sizeof records[0].ut_user), "admin");
  EXPECT_TRUE(hasLine(root, "rest_login info orvo_cgi: src/rest_login:Login: Authenticate failed"));
  EXPECT_TRUE(hasLine(root, "rest_login info orvo_cgi: src/rest_login:Login: "
                            "method 'POST', remote addr '10.1.2.3'"));
  // The password check is not even tried.
  EXPECT_EQ(countLines(root, "parameter is missing"), 0u);
  EXPECT_FALSE(std::ifstream(root.file("/tmp/.rest_0_1.db")).good());
}

TEST(AccessLogin, EmptyRemoteAddressAnswers500) {
  CameraRoot root;
  CgiAnswer answer = login(root, credentials("admin", "admin"), "0.1", "");
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(answer.headers.count("Set-Cookie"), 0u);
  EXPECT_TRUE(hasLine(root, "rest_login err orvo_cgi: src/rest_login:CreateSession: "
                            "IP address is missing"));
}

TEST(AccessLogin, ALoginADayLaterPrunesExpiredSessions) {
  CameraRoot root;
  std::string first = cookieId(login(root, credentials("admin", "admin")).headers["Set-Cookie"]);
  std::string second = cookieId(login(root, credentials("admin", "admin")).headers["Set-Cookie"]);
  auto sessions = readSessions(root);
  ASSERT_EQ(sessions.size(), 2u);
  EXPECT_EQ(sessions.count(first) + sessions.count(second), 2u);
  moveClock(root, "+86401");
  std::string third = cookieId(login(root, credentials("admin", "admin")).headers["Set-Cookie"]);
  sessions = readSessions(root);
  ASSERT_EQ(sessions.size(), 1u);
  EXPECT_EQ(sessions.count(third), 1u);
}

TEST(AccessLogin, GetOnLoginAnswers500) {
  CameraRoot root;
  CgiAnswer answer = callCgi(root, {"GET", "1.2/login", "", kAddr, ""});
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.exitCode, 255);
  EXPECT_TRUE(hasLine(root, "rest_login err orvo_cgi: src/rest_login:rest_login_main: "
                            "Cannot process 'GET' request"));
}

TEST(AccessLogout, RemovesTheSessionAndClosesIt) {
  CameraRoot root;
  std::string id = cookieId(login(root, credentials("admin", "admin")).headers["Set-Cookie"]);
  std::string other = cookieId(login(root, credentials("admin", "admin")).headers["Set-Cookie"]);
  // From any address: logout does not look at it.
  CgiAnswer answer = callCgi(root, {"POST", "1.2/logout", "", "10.7.7.7", "authId=" + id});
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(answer.headers.count("Set-Cookie"), 0u);
  auto sessions = readSessions(root);
  EXPECT_EQ(sessions.count(id), 0u);
  EXPECT_EQ(sessions.count(other), 1u);
  EXPECT_EQ(callCgi(root, {"GET", "0.1/status", "", kAddr, "authId=" + id}).status, "401");
}

TEST(AccessLogout, UnknownIdentifierAnswers500AndLeavesTheFile) {
  CameraRoot root;
  login(root, credentials("admin", "admin"));
  std::string before = readFileText(root.file("/tmp/.rest_0_1.db"));
  CgiAnswer answer = callCgi(root, {"POST", "1.2/logout", "", kAddr, "authId=nobody"});
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(readFileText(root.file("/tmp/.rest_0_1.db")), before);
  EXPECT_TRUE(hasLine(root, "rest_login err orvo_cgi: src/rest_login:Logout: "
                            "No record for UUID 'nobody' found"));
}

TEST(AccessLogout, WithoutCookieAnswers500) {
  CameraRoot root;
  CgiAnswer answer = callCgi(root, {"POST", "1.2/logout", "", kAddr, ""});
  EXPECT_EQ(answer.status, "500");
  EXPECT_TRUE(hasLine(root, "rest_login err orvo_cgi: src/rest_login:Logout: "
                            "IP address and/or uuid cookie is empty"));
}

TEST(AccessLogout, NotOfferedInVersion01) {
  CameraRoot root;
  // "logout" is not registered for 0.1: the dispatcher refuses first.
  CgiAnswer answer = callCgi(root, {"POST", "0.1/logout", "", kAddr, "authId=x"});
  EXPECT_EQ(answer.status, "500");
  EXPECT_TRUE(hasLine(root, "orvo_cgi err orvo_cgi: src/rest:processRestRequest: "
                            "Endpoint 'logout' doesn't support version '0.1'"));
}

}  // namespace
}  // namespace e2e
}  // namespace orvo
