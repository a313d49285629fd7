// The settings endpoint through lighttpd against the simulated daemons: a
// write lands in the daemons' state and the system configuration and is
// read back; slow, silent and concurrent cases.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "messages/daemons.h"
#include "orvo/variant/variant.h"
#include "support/camera.h"
#include "support/json.h"
#include "support/poll.h"
#include "support/session.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

using orvo::variant::Variant;

using orvo::daemons::kAvclient;
using orvo::daemons::kCtlServer;
using orvo::daemons::kIspServer;
using orvo::daemons::kNetworkd;
using orvo::daemons::kNvr;
using orvo::daemons::kOsd;
using orvo::daemons::kStreamer;

// Whether a process holds the settings write's lock right now, read from
// /proc/locks: trying the lock would itself turn a writer away.
bool settingsWriteRunning(CameraRoot const& root) {
  constexpr char kLock[] = "/run/lock/orvo/rest_settings_put.lock";
  if (root.isVirtualCamera()) return virtualCameraLockHeld(kLock);
  struct stat file {};
  if (stat(root.file(kLock).c_str(), &file) != 0) return false;
  std::ifstream locks("/proc/locks");
  std::string const inode = ":" + std::to_string(file.st_ino) + " ";
  for (std::string line; std::getline(locks, line);) {
    if (line.find(" FLOCK ") != std::string::npos && line.find(inode) != std::string::npos) {
      return true;
    }
  }
  return false;
}

class SettingsHttp : public SharedCameraTest {
 protected:
  HttpResponse get() { return camera_.request({"GET", "/api/1.2/settings", {cookie_}, {}}); }
  HttpResponse put(std::string const& body) {
    return camera_.request(
        {"PUT", "/api/1.2/settings", {cookie_, "Content-Type: application/json"}, body});
  }
  std::string systemCfg() { return camera_.root().read("/etc/orvo/system.cfg"); }
  Variant state(char const* daemon) { return daemonState(camera_.root(), daemon); }

  SimulatedCamera const& camera_ = camera();
  std::string cookie_ = sessionCookie(camera_);
};

TEST_F(SettingsHttp, WriteLandsWhereItBelongsAndReadsBack) {
  HttpResponse answer = put(R"({
    "isp": {"brightness": 30, "contrast": 101},
    "osd": {"textScale": 70},
    "device": {"name": "Porch", "language": "fr"},
    "httpd": {"anonSnapshot": 1},
    "net": {"mode": "static", "ip": "10.0.0.5", "mask": "255.0.0.0", "gw": "10.0.0.1"}})");
  ASSERT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "");

  Variant isp = state(kIspServer);
  EXPECT_EQ(text(isp, "settings/brightness"), "30");
  EXPECT_EQ(text(isp, "settings/contrast"), "50");  // the not-set marker changed nothing
  Variant osd = state(kOsd);
  EXPECT_EQ(text(osd, "settings/textScale"), "70");
  Variant ctl = state(kCtlServer);
  EXPECT_EQ(text(ctl, "device/name"), R"("Porch")");
  EXPECT_EQ(text(ctl, "device/timezone"), R"("UTC")");
  Variant network = state(kNetworkd);
  EXPECT_EQ(text(network, "settings/statik/ip"), R"("10.0.0.5")");
  EXPECT_NE(systemCfg().find("device.language=fr\n"), std::string::npos) << systemCfg();
  EXPECT_NE(systemCfg().find("httpd.anonSnapshot=1\n"), std::string::npos);

  HttpResponse read = get();
  ASSERT_EQ(read.status, 200);
  Variant doc = parsed(read.body);
  EXPECT_EQ(text(doc, "isp/brightness"), "30");
  EXPECT_EQ(text(doc, "isp/contrast"), "50");
  EXPECT_EQ(text(doc, "osd/textScale"), "70");
  EXPECT_EQ(text(doc, "device/name"), R"("Porch")");
  EXPECT_EQ(text(doc, "device/language"), R"("fr")");
  EXPECT_EQ(text(doc, "httpd/anonSnapshot"), "1");
  EXPECT_EQ(text(doc, "net/ip"), R"("10.0.0.5")");
  EXPECT_EQ(text(doc, "net/mask"), R"("255.0.0.0")");
  EXPECT_EQ(text(doc, "net/gw"), R"("10.0.0.1")");
}

TEST_F(SettingsHttp, InvalidBodyChangesNothing) {
  std::string const before = systemCfg();
  HttpResponse answer = put(R"({"device":{"language":"de-DE"},"isp":{"brightness":10}})");
  EXPECT_EQ(answer.status, 400);
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(systemCfg(), before);
  Variant isp = state(kIspServer);
  EXPECT_EQ(text(isp, "settings/brightness"), "50");
  EXPECT_TRUE(logged("rest_settings err orvo_cgi: src/rest_settings:"
                                      "is_valid_put_request: Not supported language"));
  EXPECT_TRUE(logged("rest_settings err orvo_cgi: src/rest_settings:handle_put: Invalid request"));
}

TEST_F(SettingsHttp, EmptyControllerAddressIsOnlyAWarning) {
  EXPECT_EQ(put(R"({"controller":{"addr":""}})").status, 200);
  EXPECT_TRUE(logged("rest_settings warning orvo_cgi: src/rest_settings:"
                                      "handle_put: controller addr must be non-empty"));
}

// The controller address is checked with the URI parser, which the program
// loads only for such requests: both verdicts prove it loaded.
TEST_F(SettingsHttp, ControllerAddressIsParsedAndAdopted) {
  EXPECT_EQ(put(R"({"controller":{"addr":"ctl.example.net:7443/adopt"}})").status, 200);
  Variant avclient = state(kAvclient);
  EXPECT_EQ(text(avclient, "hosts"), R"(["ctl.example.net:7443/adopt"])");
  EXPECT_EQ(put(R"({"controller":{"addr":"bad host^name"}})").status, 400);
  EXPECT_TRUE(logged("rest_settings err orvo_cgi: src/rest_settings:"
                                      "is_valid_put_request: controller/addr is not valid"));
}

TEST_F(SettingsHttp, SilentStreamerLeavesAvEmpty) {
  control(kStreamer, {"silent", "on"});
  HttpResponse read = get();
  ASSERT_EQ(read.status, 200);
  Variant doc = parsed(read.body);
  EXPECT_EQ(text(doc, "av"), "null");
  EXPECT_EQ(text(doc, "isp/brightness"), "50");
}

TEST_F(SettingsHttp, SlowDaemonIsNamedInTheLog) {
  control(kNvr, {"latency", "1200"});
  ASSERT_EQ(get().status, 200);
  EXPECT_EQ(countLogged("msgNvr took "), 1u);
  EXPECT_EQ(countLogged("msgIsp took "), 0u);
}

TEST_F(SettingsHttp, SecondWriterWhileTheFirstRunsAnswers429) {
  control(kIspServer, {"latency", "1500"});
  HttpResponse first;
  std::thread writer([&] { first = put(R"({"isp":{"brightness":20}})"); });
  // The first writer holds the lock while the slow daemon keeps it waiting.
  EXPECT_TRUE(eventually([&] { return settingsWriteRunning(camera_.root()); },
                         std::chrono::seconds(10)));
  HttpResponse second = put(R"({"isp":{"brightness":25}})");
  writer.join();
  EXPECT_EQ(first.status, 200);
  EXPECT_EQ(second.status, 429);
  EXPECT_EQ(second.body, "");
  EXPECT_EQ(countLogged("'rest_settings_put' is already running"), 1u);
  Variant isp = state(kIspServer);
  EXPECT_EQ(text(isp, "settings/brightness"), "20");
}

}  // namespace
}  // namespace test
}  // namespace orvo
