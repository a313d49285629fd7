// The status document as a logged-in browser gets it through lighttpd, with
// the simulated daemons running.
#include <gtest/gtest.h>

#include <set>

#include "messages/daemons.h"
#include "orvo/variant/variant.h"
#include "support/camera.h"
#include "support/json.h"
#include "support/session.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

using orvo::variant::Variant;
using StatusHttp = SharedCameraTest;

TEST_F(StatusHttp, DocumentFromTheSimulatedCamera) {
  SimulatedCamera const& camera = StatusHttp::camera();
  HttpResponse answer = camera.request({"GET", "/api/1.2/status", {sessionCookie(camera)}, {}});
  ASSERT_EQ(answer.status, 200) << answer.body;
  EXPECT_EQ(answer.header("Content-Type"), "application/json");
  Variant doc = parsed(answer.body);
  EXPECT_EQ(keysOf(doc), (std::set<std::string>{"board", "controller", "device", "features", "fw",
                                                 "hostName", "network", "request", "system",
                                                 "wifi"}));
  EXPECT_EQ(text(doc, "board/mac"), R"("74:83:C2:A1:B2:C3")");
  EXPECT_EQ(text(doc, "fw/semver"), R"("4.23.8")");
  EXPECT_EQ(text(doc, "features/wifi"), "1");
  EXPECT_EQ(text(doc, "network/nic"), R"("eth0")");
  EXPECT_EQ(text(doc, "network/ip"), R"("192.168.1.57")");
  EXPECT_EQ(text(doc, "request/remoteIp"), "\"" + clientAddress() + "\"");
  EXPECT_EQ(text(doc, "device/language"), R"("en-US")");
  EXPECT_EQ(text(doc, "device/firstTimeUse"), "true");
  // The simulator has no video chip, so no temperature.
  EXPECT_EQ(text(doc, "system/temperature"), "(absent)");
  EXPECT_NE(text(doc, "system/uptime"), "(absent)");
}

TEST_F(StatusHttp, Version01IsTheSmallDocument) {
  SimulatedCamera const& camera = StatusHttp::camera();
  HttpResponse answer = camera.request({"GET", "/api/0.1/status", {sessionCookie(camera)}, {}});
  ASSERT_EQ(answer.status, 200);
  EXPECT_EQ(keysOf(parsed(answer.body)), (std::set<std::string>{"fwver", "mac", "model"}));
}

TEST_F(StatusHttp, WithoutSessionIsRefused) {
  SimulatedCamera const& camera = StatusHttp::camera();
  EXPECT_EQ(camera.get("/api/1.2/status").status, 401);
}

TEST_F(StatusHttp, PostIsRefusedWithoutBody) {
  SimulatedCamera const& camera = StatusHttp::camera();
  HttpResponse answer =
      camera.request({"POST", "/api/1.2/status", {sessionCookie(camera)}, std::string("{}")});
  EXPECT_EQ(answer.status, 500);
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(logged("rest_status err orvo_cgi: src/rest_status:rest_status_main: "
                      "Cannot process POST request"));
}

TEST_F(StatusHttp, NetworkDaemonDownFailsTheDocument) {
  SimulatedCamera const& camera = StatusHttp::camera();
  std::string const cookie = sessionCookie(camera);
  control(orvo::daemons::kNetworkd, {"stop"});
  HttpResponse answer = camera.request({"GET", "/api/1.2/status", {cookie}, {}});
  EXPECT_EQ(answer.status, 500);
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(logged("rest_status err orvo_cgi: src/rest_status:RestGetStatus: "
                      "Failed to query NetworkStatus"));
}

TEST_F(StatusHttp, StatusFollowsTheSettingsWritten) {
  SimulatedCamera const& camera = StatusHttp::camera();
  std::string const cookie = sessionCookie(camera);
  HttpResponse put = camera.request({"PUT", "/api/1.2/settings",
                                     {cookie, "Content-Type: application/json"},
                                     std::string(R"({"device":{"language":"pt-BR",)"
                                                 R"("firstTimeUse":false}})")});
  ASSERT_EQ(put.status, 200);
  Variant doc = parsed(camera.request({"GET", "/api/1.2/status", {cookie}, {}}).body);
  EXPECT_EQ(text(doc, "device/language"), R"("pt-BR")");
  EXPECT_EQ(text(doc, "device/firstTimeUse"), "false");
}

// Without a stored language the status document says "en-US" while the
// settings read gives the empty string.
TEST_F(StatusHttp, UnsetLanguageReadsEnUsInStatusAndEmptyInSettings) {
  SimulatedCamera const& camera = StatusHttp::camera();
  std::string cfg = camera.root().read("/etc/orvo/system.cfg");
  std::string::size_type line = cfg.find("device.language=");
  ASSERT_NE(line, std::string::npos) << cfg;
  cfg.erase(line, cfg.find('\n', line) - line + 1);
  camera.root().write("/etc/orvo/system.cfg", cfg);
  std::string const cookie = sessionCookie(camera);
  Variant status = parsed(camera.request({"GET", "/api/1.2/status", {cookie}, {}}).body);
  EXPECT_EQ(text(status, "device/language"), R"("en-US")");
  Variant settings = parsed(camera.request({"GET", "/api/1.2/settings", {cookie}, {}}).body);
  EXPECT_EQ(text(settings, "device/language"), R"("")");
}

}  // namespace
}  // namespace test
}  // namespace orvo
