// The settings endpoint through lighttpd against the simulated daemons: a
// write lands in the daemons' state and the system configuration and is
// read back; slow, silent and concurrent cases.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "access_support.h"
#include "camera_support.h"
#include "harness/http.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace e2e {
namespace {

using orvo::variant::Variant;

class SettingsHttp : public ::testing::Test {
 protected:
  HttpResponse get() { return camera_.request({"GET", "/api/1.2/settings", {cookie_}, {}}); }
  HttpResponse put(std::string const& body) {
    return camera_.request(
        {"PUT", "/api/1.2/settings", {cookie_, "Content-Type: application/json"}, body});
  }
  std::string systemCfg() { return readFileText(camera_.root().file("/etc/orvo/system.cfg")); }

  SimulatedCamera camera_;
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

  Variant isp = daemonState(camera_, "orvo_ispserver");
  EXPECT_EQ(text(isp, "settings/brightness"), "30");
  EXPECT_EQ(text(isp, "settings/contrast"), "50");  // the not-set marker changed nothing
  Variant osd = daemonState(camera_, "orvo_osd");
  EXPECT_EQ(text(osd, "settings/textScale"), "70");
  Variant ctl = daemonState(camera_, "orvo_ctlserver");
  EXPECT_EQ(text(ctl, "device/name"), R"("Porch")");
  EXPECT_EQ(text(ctl, "device/timezone"), R"("UTC")");
  Variant network = daemonState(camera_, "orvo_networkd");
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
  Variant isp = daemonState(camera_, "orvo_ispserver");
  EXPECT_EQ(text(isp, "settings/brightness"), "50");
  EXPECT_TRUE(hasLine(camera_.root(), "rest_settings err orvo_cgi: src/rest_settings:"
                                      "is_valid_put_request: Not supported language"));
  EXPECT_TRUE(hasLine(camera_.root(),
                      "rest_settings err orvo_cgi: src/rest_settings:handle_put: Invalid request"));
}

TEST_F(SettingsHttp, EmptyControllerAddressIsOnlyAWarning) {
  EXPECT_EQ(put(R"({"controller":{"addr":""}})").status, 200);
  EXPECT_TRUE(hasLine(camera_.root(), "rest_settings warning orvo_cgi: src/rest_settings:"
                                      "handle_put: controller addr must be non-empty"));
}

// The controller address is checked with the URI parser, which the program
// loads only for such requests: both verdicts prove it loaded.
TEST_F(SettingsHttp, ControllerAddressIsParsedAndAdopted) {
  EXPECT_EQ(put(R"({"controller":{"addr":"ctl.example.net:7443/adopt"}})").status, 200);
  Variant avclient = daemonState(camera_, "orvo_avclient");
  EXPECT_EQ(text(avclient, "hosts"), R"(["ctl.example.net:7443/adopt"])");
  EXPECT_EQ(put(R"({"controller":{"addr":"bad host^name"}})").status, 400);
  EXPECT_TRUE(hasLine(camera_.root(), "rest_settings err orvo_cgi: src/rest_settings:"
                                      "is_valid_put_request: controller/addr is not valid"));
}

TEST_F(SettingsHttp, SilentStreamerLeavesAvEmpty) {
  control(camera_, {"orvo_streamer", "silent", "on"});
  HttpResponse read = get();
  ASSERT_EQ(read.status, 200);
  Variant doc = parsed(read.body);
  EXPECT_EQ(text(doc, "av"), "null");
  EXPECT_EQ(text(doc, "isp/brightness"), "50");
}

TEST_F(SettingsHttp, SlowDaemonIsNamedInTheLog) {
  control(camera_, {"orvo_nvr", "latency", "1200"});
  ASSERT_EQ(get().status, 200);
  EXPECT_EQ(countLines(camera_.root(), "msgNvr took "), 1u);
  EXPECT_EQ(countLines(camera_.root(), "msgIsp took "), 0u);
}

TEST_F(SettingsHttp, SecondWriterWhileTheFirstRunsAnswers429) {
  control(camera_, {"orvo_ispserver", "latency", "1500"});
  HttpResponse first;
  std::thread writer([&] { first = put(R"({"isp":{"brightness":20}})"); });
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  HttpResponse second = put(R"({"isp":{"brightness":25}})");
  writer.join();
  EXPECT_EQ(first.status, 200);
  EXPECT_EQ(second.status, 429);
  EXPECT_EQ(second.body, "");
  EXPECT_EQ(countLines(camera_.root(), "'rest_settings_put' is already running"), 1u);
  Variant isp = daemonState(camera_, "orvo_ispserver");
  EXPECT_EQ(text(isp, "settings/brightness"), "20");
}

}  // namespace
}  // namespace e2e
}  // namespace orvo
