// Secrets that requests carry never reach the camera's log, and those the
// camera holds never leave it: every request that carries a credential is
// sent, refused and accepted, through lighttpd; then the log file, the
// `syslog` answer and an unpacked support bundle are searched for each.
#include <gtest/gtest.h>

#include <fstream>

#include "support/camera.h"
#include "support/poll.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

// Short ones on purpose: no secret is too short to hide.
constexpr char kWrongPassword[] = "pw-Wr0ng";
constexpr char kManageWifiPassword[] = "Mw-9q-psk";
constexpr char kRefusedAdoptionToken[] = "aT-r3f";
constexpr char kAdoptionToken[] = "aT-0k7";
constexpr char kRefusedAuthToken[] = "tK-b4d";
constexpr char kAuthToken[] = "tK-g00d";
constexpr char kSetupPsk[] = "Sp-7x-psk";
constexpr char kSettingsPsk[] = "St-4y-psk";
constexpr char kHomeNetPassphrase[] = "orchard-lane-42";

class SecretsHttp : public SharedCameraTest {
 protected:
  void SetUp() override { cookie_ = sessionCookie(camera_); }
  HttpResponse send(std::string const& method, std::string const& target, std::string const& body,
                    bool withCookie = false) {
    std::vector<std::string> headers = {"Content-Type: application/json"};
    if (withCookie) headers.push_back(cookie_);
    return camera_.request({method, target, headers, body});
  }
  std::string bundleText() {
    HttpResponse answer = camera_.request({"GET", "/api/1.2/support", {cookie_}, {}});
    EXPECT_EQ(answer.status, 200);
    std::string const path = camera_.root().path() + "/secrets.sup";
    std::ofstream(path, std::ios::binary) << answer.body;
    ProcessResult tar = runCommand({"/bin/tar", "-xzOf", path}, inheritedEnvironment());
    EXPECT_EQ(tar.exitCode, 0) << tar.err;
    return tar.out;
  }

  SimulatedCamera const& camera_ = camera();
  std::string cookie_;
};

TEST_F(SecretsHttp, NoSecretReachesTheLogSyslogOrTheBundle) {
  setToken(kAuthToken);
  control("orvo_avclient", {"adopted", "true"});
  std::string const manageRefused =
      std::string(R"({"username":"admin","password":"admin","authToken":")") + kRefusedAuthToken +
      R"(","mgmt":{"protocol":"ws","hosts":["ctl.example.net"],"token":")" +
      kRefusedAdoptionToken + R"("},"wifi":{"ssid":"HomeNet","password":")" +
      kManageWifiPassword + R"(","nested":[{"psk":"x)" + kManageWifiPassword + R"("}]}})";
  EXPECT_EQ(send("POST", "/api/1.2/manage", manageRefused).status, 400);
  std::string const manageAccepted =
      std::string(R"({"username":"admin","password":"admin","mgmt":{"protocol":"wss",)") +
      R"("hosts":["ctl.example.net:7443"],"token":")" + kAdoptionToken +
      R"("},"wifi":{"ssid":"HomeNet","password":")" + kHomeNetPassphrase + R"(","fallback":false}})";
  EXPECT_EQ(send("POST", "/api/1.2/manage", manageAccepted).status, 200);
  EXPECT_EQ(send("POST", "/api/1.2/login", std::string(R"({"authToken":")") + kRefusedAuthToken + "\"}")
                .status, 401);
  EXPECT_EQ(send("POST", "/api/1.2/login",
                 std::string(R"({"username":"admin","password":")") + kWrongPassword + "\"}")
                .status, 401);
  for (char const* target : {"/api/1.2/connect", "/api/1.2/snapshot"}) {
    EXPECT_EQ(send("POST", target, std::string(R"({"authToken":")") + kRefusedAuthToken + "\"}")
                  .status, 401) << target;
  }
  EXPECT_EQ(send("POST", "/api/1.2/connect", std::string(R"({"authToken":")") + kAuthToken + "\"}")
                .status, 200);
  EXPECT_EQ(send("PUT", "/api/1.2/setup",
                 std::string(R"({"wifiSsid":"HomeNet","wifiKey":"bogus","wifiAuth":"psk","wifiPsk":")") +
                     kSetupPsk + "\"}", true)
                .status, 500);
  EXPECT_EQ(send("PUT", "/api/1.2/settings",
                 std::string(R"({"wifi":{"ssid":"HomeNet","key":"wpa","auth":"psk","psk":")") +
                     kSettingsPsk + "\"}}", true)
                .status, 200);
  // The refusals were logged, with their secrets masked.
  // The refused manage request came in with the right password: its token was not checked.
  EXPECT_EQ(countLogged("authToken '********' check failure"), 3u);
  EXPECT_EQ(countLogged("request data {"), 1u);
  EXPECT_EQ(countLogged(R"("password":"********")"), 1u);
  EXPECT_EQ(countLogged(R"("token":"********")"), 1u);
  EXPECT_EQ(countLogged(R"("psk":"********")"), 1u);

  HttpResponse syslog = camera_.request({"GET", "/api/1.2/syslog", {cookie_}, {}});
  ASSERT_EQ(syslog.status, 200);
  std::string const log = camera_.root().read("/var/log/messages");
  std::string const bundle = bundleText();
  EXPECT_NE(bundle.find("request data {"), std::string::npos);
  for (char const* secret : {kWrongPassword, kManageWifiPassword, kRefusedAdoptionToken,
                             kAdoptionToken, kRefusedAuthToken, kAuthToken, kSetupPsk,
                             kSettingsPsk, kHomeNetPassphrase}) {
    EXPECT_EQ(log.find(secret), std::string::npos) << secret;
    EXPECT_EQ(syslog.body.find(secret), std::string::npos) << secret;
    EXPECT_EQ(bundle.find(secret), std::string::npos) << secret;
  }
}

}  // namespace
}  // namespace test
}  // namespace orvo
