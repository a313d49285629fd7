// The network daemon's scan, its duration control, and the control server's
// factory reset with the restart that follows it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "daemon_names.h"
#include "daemon_table.h"
#include "daemon_test_support.h"
#include "default_state.h"
#include "orvo/utils/account.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/system_cfg.h"
#include "state_store.h"

namespace {

using daemontest::parse;
using orvo::variant::Variant;
namespace sim = orvo::sim;

std::string readText(std::string const& devicePath) {
  std::ifstream in(orvo::utils::devicePath(devicePath));
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

void writeText(std::string const& devicePath, std::string const& text) {
  std::ofstream(orvo::utils::devicePath(devicePath)) << text;
}

void makeFolder(std::string const& devicePath) {
  ASSERT_TRUE(sim::makeFolders(orvo::utils::devicePath(devicePath)));
}

class Maintenance : public ::testing::Test {
 protected:
  void SetUp() override { daemontest::cameraRoot(); }
  static Variant ask(char const* daemon, char const* json) {
    return sim::handleRequest(daemon, parse(json));
  }
};

TEST_F(Maintenance, ScanReportsEachVisibleNetworkOnce) {
  ASSERT_TRUE(sim::updateState(orvo::daemons::kNetworkd, [](Variant& state) {
    state["accessPoints"] = parse(R"([
      {"essid": "Attic", "bssid": "02:00:00:00:00:01", "channel": 36, "signalLevel": 61,
       "keyManagement": "WPA2-PSK", "auth": "psk"},
      {"essid": "Cafe", "bssid": "02:00:00:00:00:02", "channel": 11, "signalLevel": -80,
       "keyManagement": "NONE", "auth": "none"}])");
    return true;
  }));
  Variant answer = ask(orvo::daemons::kNetworkd, R"({"functionName": "ScanAP"})");
  std::string json;
  ASSERT_TRUE(answer.ToJSON(json, false));
  EXPECT_EQ(json,
            R"({"accessPoints":[)"
            R"({"bssid":"02:00:00:00:00:01","channel":36,"security":"WPA2-PSK","signal":-61,"ssid":"Attic"},)"
            R"({"bssid":"02:00:00:00:00:02","channel":11,"security":"NONE","signal":-80,"ssid":"Cafe"}]})");
}

TEST_F(Maintenance, NoVisibleNetworkIsAnEmptyList) {
  ASSERT_TRUE(sim::updateState(orvo::daemons::kNetworkd, [](Variant& state) {
    state["accessPoints"] = parse("[]");
    return true;
  }));
  std::string json;
  ASSERT_TRUE(ask(orvo::daemons::kNetworkd, R"({"functionName": "ScanAP"})").ToJSON(json, false));
  EXPECT_EQ(json, R"({"accessPoints":[]})");
}

TEST_F(Maintenance, ScanTakesTheScanDuration) {
  Variant scan = parse(R"({"functionName": "ScanAP"})");
  Variant status = parse(R"({"functionName": "NetworkStatus"})");
  sim::DaemonControls controls = sim::readControls(orvo::daemons::kNetworkd);
  EXPECT_EQ(controls.scanDurationMs, 2000u);
  EXPECT_EQ(sim::workTimeMs(orvo::daemons::kNetworkd, scan, controls), 2000u);
  EXPECT_EQ(sim::workTimeMs(orvo::daemons::kNetworkd, status, controls), 0u);
  EXPECT_EQ(sim::workTimeMs(orvo::daemons::kIspServer, scan, controls), 0u);

  std::string output;
  EXPECT_EQ(daemontest::simd("ctl orvo_networkd scan-duration 150", output), 0) << output;
  controls = sim::readControls(orvo::daemons::kNetworkd);
  EXPECT_EQ(controls.scanDurationMs, 150u);
  EXPECT_EQ(controls.latencyMs, 0u);
  EXPECT_EQ(daemontest::simd("ctl orvo_networkd scan-duration 60001", output), 2);
  EXPECT_EQ(daemontest::simd("ctl orvo_ispserver scan-duration 10", output), 2);
  EXPECT_NE(output.find("scan-duration is a control of orvo_networkd only"), std::string::npos);
  EXPECT_EQ(daemontest::camsim("ctl", "orvo_ispserver scan-duration 10"), 1);
  EXPECT_EQ(daemontest::camsim("ctl", "orvo_networkd scan-duration 40"), 0);
  EXPECT_EQ(sim::readControls(orvo::daemons::kNetworkd).scanDurationMs, 40u);
}

// The root as `camsim init` leaves it: factory copies and a reboot tool that
// notes each call.
void prepareFactoryRoot() {
  makeFolder("/sim/factory");
  makeFolder("/etc/orvo");
  makeFolder("/sbin");
  writeText("/sim/factory/system.cfg", "device.firstTimeUse=1\ndevice.language=en-US\n");
  ASSERT_EQ(orvo::utils::setAccount("admin", "admin"), 0);
  writeText("/sim/factory/account", readText(orvo::utils::kAccountFile));
  writeText("/sbin/reboot", "#!/bin/sh\necho \"$*\" >> \"$ORVO_ROOT/sim/reboot-calls\"\n");
  chmod(orvo::utils::devicePath("/sbin/reboot").c_str(), 0755);
}

std::string rebootCalls() {
  for (int waited = 0; waited < 100; ++waited) {
    std::string const calls = readText("/sim/reboot-calls");
    if (!calls.empty()) return calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return "";
}

TEST_F(Maintenance, ResetToDefaultsRestoresTheFactoryCameraAndRestarts) {
  prepareFactoryRoot();
  ask(orvo::daemons::kOsd, R"({"functionName": "ChangeOsdSettings", "textScale": 90})");
  ask(orvo::daemons::kAvclient, R"({"functionName": "Adopt", "hosts": ["h"]})");
  ask(orvo::daemons::kCtlServer, R"({"functionName": "ChangeDeviceSettings", "name": "Other"})");
  writeText(orvo::utils::kSystemCfgPath, "device.firstTimeUse=0\ndevice.language=fr\n");
  ASSERT_EQ(orvo::utils::setAccount("owner", "changed-1"), 0);
  ASSERT_EQ(orvo::utils::setAuthToken("a-token"), 0);

  Variant answer = ask(orvo::daemons::kCtlServer, R"({"functionName": "ResetToDefaults", "from": "rest_reset.7"})");
  EXPECT_FALSE(answer.Has(orvo::variant::VT_ANY, "error"));
  for (char const* daemon : orvo::daemons::kAll) {
    Variant state;
    ASSERT_TRUE(sim::readState(daemon, state));
    EXPECT_TRUE(state == sim::defaultState(daemon)) << daemon;
  }
  Variant published;
  ASSERT_TRUE(published.FromJSONFile(orvo::utils::devicePath("/etc/avclient_state.json")));
  EXPECT_TRUE(published["adopted"] == false);
  EXPECT_EQ(readText(orvo::utils::kSystemCfgPath), "device.firstTimeUse=1\ndevice.language=en-US\n");
  EXPECT_EQ(readText(orvo::utils::kAccountFile), readText("/sim/factory/account"));
  bool ok = false;
  ASSERT_EQ(orvo::utils::authenticatePassword("admin", "admin", ok), 0);
  EXPECT_TRUE(ok);
  EXPECT_NE(access(orvo::utils::devicePath(orvo::utils::kAuthTokenFile).c_str(), F_OK), 0);
  EXPECT_EQ(rebootCalls(), "-d 0\n");
}

TEST_F(Maintenance, ResetWithoutFactoryCopiesSaysSo) {
  std::error_code ignored;
  std::filesystem::remove_all(orvo::utils::devicePath("/sim/factory"), ignored);
  Variant answer = ask(orvo::daemons::kCtlServer, R"({"functionName": "ResetToDefaults"})");
  EXPECT_EQ(answer.StringAt("error"), "the factory files could not be restored");
}

}  // namespace
