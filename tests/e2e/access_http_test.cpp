// Login, session and lockdown as a browser sees them through lighttpd, with
// the simulated daemons running.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "messages/daemons.h"
#include "support/camera.h"
#include "support/json.h"
#include "support/session.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

HttpResponse httpLogin(SimulatedCamera const& camera, std::string const& version,
                       std::string const& body) {
  return camera.request({"POST", "/api/" + version + "/login",
                         {"Content-Type: application/json"}, body});
}

std::set<std::string> keysOfJson(std::string const& json) { return keysOf(parsed(json)); }

using AccessHttp = SharedCameraTest;

TEST_F(AccessHttp, LoginAnswersTheStatusDocumentAndOpensTheSession) {
  SimulatedCamera const& camera = AccessHttp::camera();
  HttpResponse answer = httpLogin(camera, "1.2", credentials("admin", "admin"));
  ASSERT_EQ(answer.status, 200) << answer.body;
  EXPECT_EQ(answer.header("Content-Type"), "application/json");
  std::string cookie = answer.header("Set-Cookie").value_or("");
  EXPECT_TRUE(std::regex_match(cookie, std::regex("authId=[A-Za-z0-9]{32}; Path=/; Expires=.* GMT; "
                                                  "Max-Age=86400; Version=1; HttpOnly; SameSite=Strict")))
      << cookie;
  std::string id = cookieId(cookie);
  HttpResponse status = camera.request({"GET", "/api/1.2/status", {"Cookie: authId=" + id}, {}});
  ASSERT_EQ(status.status, 200);
  auto loginKeys = keysOfJson(answer.body);
  EXPECT_FALSE(loginKeys.empty());
  EXPECT_EQ(loginKeys, keysOfJson(status.body));
}

// The session is bound to the address that logged in: the same cookie sent
// from another loopback address is refused.
TEST_F(AccessHttp, CookieFromAnotherAddressIsRefused) {
  if (onVirtualCamera()) {
    GTEST_SKIP() << "every client of this machine reaches the virtual camera as 10.0.2.2";
  }
  SimulatedCamera const& camera = AccessHttp::camera();
  HttpResponse answer = httpLogin(camera, "1.2", credentials("admin", "admin"));
  ASSERT_EQ(answer.status, 200) << answer.body;
  std::string header = "Cookie: authId=" + cookieId(answer.header("Set-Cookie").value_or(""));
  HttpResponse refused = camera.requestFrom("127.0.0.2", {"GET", "/api/1.2/status", {header}, {}});
  EXPECT_EQ(refused.status, 401);
  EXPECT_EQ(refused.body, "");
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: "
                                     "IP addresses do not match: 127.0.0.1 <-> 127.0.0.2 "
                                     "(old auth data received?)"));
  EXPECT_EQ(camera.request({"GET", "/api/1.2/status", {header}, {}}).status, 200);
}

TEST_F(AccessHttp, LogoutClosesTheSession) {
  SimulatedCamera const& camera = AccessHttp::camera();
  HttpResponse answer = httpLogin(camera, "0.1", credentials("admin", "admin"));
  ASSERT_EQ(answer.status, 200);
  std::string header = "Cookie: authId=" + cookieId(answer.header("Set-Cookie").value_or(""));
  EXPECT_EQ(camera.request({"GET", "/api/0.1/status", {header}, {}}).status, 200);
  EXPECT_EQ(camera.request({"POST", "/api/1.2/logout", {header}, std::string()}).status, 200);
  EXPECT_EQ(camera.request({"GET", "/api/0.1/status", {header}, {}}).status, 401);
}

TEST_F(AccessHttp, LockdownAnswers423) {
  SimulatedCamera const& camera = AccessHttp::camera();
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(httpLogin(camera, "1.2", credentials("admin", "bad")).status, 401);
  }
  HttpResponse locked = httpLogin(camera, "1.2", credentials("admin", "admin"));
  EXPECT_EQ(locked.status, 423);
  EXPECT_EQ(locked.body, "");
  auto records = readBtmp(camera.root());
  ASSERT_EQ(records.size(), 5u);
  EXPECT_EQ(utmpText(records[4].ut_host, sizeof records[4].ut_host), clientAddress());
  moveClock("+301");
  EXPECT_EQ(httpLogin(camera, "0.1", credentials("admin", "admin")).status, 200);
  EXPECT_EQ(camera.root().read(kFailedLogins), "");
}

TEST_F(AccessHttp, TokenOpensLoginOnlyOnceTheSimulatedClientIsAdopted) {
  SimulatedCamera const& camera = AccessHttp::camera();
  setToken("controller-token-1");
  std::string const body = "{\"authToken\":\"controller-token-1\"}";
  EXPECT_EQ(httpLogin(camera, "0.1", body).status, 401);
  EXPECT_EQ(countLogged("AuthTokenAuthentication"), 0u);
  ProcessResult adopt = runCamsim(
      "call", camera.root(),
      {orvo::daemons::kAvclient, "{\"functionName\":\"Adopt\",\"hosts\":[\"wss://192.0.2.10:7442\"]}"});
  ASSERT_TRUE(adopt.exited && adopt.exitCode == 0) << adopt.err;
  // An adoption is under way until the controller confirms it.
  EXPECT_EQ(httpLogin(camera, "0.1", body).status, 401);
  ProcessResult confirm =
      runCamsim("ctl", camera.root(), {"orvo_avclient", "adopted", "true"});
  ASSERT_TRUE(confirm.exited && confirm.exitCode == 0) << confirm.err;
  HttpResponse answer = httpLogin(camera, "0.1", body);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(cookieId(answer.header("Set-Cookie").value_or("")).size(), 32u);
  EXPECT_EQ(httpLogin(camera, "0.1", "{\"authToken\":\"controller-token-2\"}").status, 401);
}

}  // namespace
}  // namespace test
}  // namespace orvo
