// The status document, built against a scripted network daemon.
#include <gtest/gtest.h>
#include <signal.h>

#include "messages/daemons.h"
#include "status_test_support.h"

using orvo::variant::Variant;
using statustest::Daemon;
using statustest::json;
using statustest::kUntouched;
using statustest::Handler;
using statustest::Root;
using statustest::CgiResult;
using statustest::Script;

namespace {

constexpr char kNetDev[] =
    "Inter-|   Receive                                                |  Transmit\n"
    " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs "
    "drop fifo colls carrier compressed\n"
    "    lo:    4200      42    0    0    0     0          0         0     4200      42    0 "
    "   0    0     0       0          0\n"
    "  eth0: 9876543     100    0    0    0     0          0         0   123456      90    0 "
    "   0    0     0       0          0\n";

Variant stationReply() {
  return statustest::parse(R"({
    "defaultInterface": "eth0", "ipAddress": "192.168.1.57", "gateway": "192.168.1.1",
    "networkMask": "255.255.255.0", "dnsServer": "192.168.1.1", "linkSpeedMbps": 100,
    "dhcpLeasetime": 86400, "wlanMode": "station", "essid": "HomeNet",
    "bssid": "74:83:c2:1a:2b:3c", "channel": 6, "keyManagement": "WPA2-PSK", "quality": 58,
    "qualityMax": 70, "signalLevel": 52, "noiseLevel": 95, "frequency": 2437, "txpower": 20,
    "connectionStateDescription": "CONNECTED"})");
}

Script networkScript(Variant const& reply) {
  Script script;
  script.answers["NetworkStatus"] = reply;
  return script;
}

Variant document(CgiResult const& run) { return statustest::parse(run.body); }

class StatusDocument : public ::testing::Test {
 protected:
  void SetUp() override { root_.writeProc(kNetDev); }
  CgiResult get(std::string const& version = "1.2") {
    return statustest::runHandler(root_, Handler::kStatus, "GET", version);
  }
  Root root_;
};

}  // namespace

TEST_F(StatusDocument, OtherMethodsFailWithoutAnswer) {
  CgiResult run = statustest::runHandler(root_, Handler::kStatus, "POST");
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.out, kUntouched);
  EXPECT_EQ(statustest::logged(run, "Cannot process POST request"),
            std::vector<std::string>{"err rest_status_main"});
}

TEST_F(StatusDocument, Version01HasExactlyThreeKeys) {
  CgiResult run = get("0.1");
  ASSERT_EQ(run.status, "200");
  EXPECT_EQ(run.body,
            R"({"fwver":"OV-B4.v4.23.8","mac":"74:83:C2:A1:B2:C3","model":"OrvoCam Bullet 4"})");
}

TEST_F(StatusDocument, FullDocumentFromEverySource) {
  root_.write("/etc/avclient_state.json", R"({"adopted":true,"host":"ctl.example.com"})");
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(stationReply()));
  CgiResult run = get();
  ASSERT_EQ(run.status, "200") << run.out;
  Variant doc = document(run);
  EXPECT_EQ(json(doc["board"]),
            R"({"hwaddr":"7483C2A1B2C3","mac":"74:83:C2:A1:B2:C3","maxTimeoutFwUpdate":300,)"
            R"("maxTimeoutReboot":90,"name":"OV-B4"})");
  EXPECT_EQ(json(doc["features"]),
            R"({"accelerometer":0,"adjustableIR":1,"battery":0,"bluetooth":0,"externalIR":0,)"
            R"("ldc":1,"ledIr":1,"ledStatus":1,"lineIn":0,"magicZoom":0,"mic":1,)"
            R"("opticalZoom":0,"rtc":1,"sdmmc":1,"speaker":1,"touchFocus":0,"wifi":1})");
  EXPECT_EQ(json(doc["fw"]), R"({"protocolVer":67,"semver":"4.23.8","version":"OV-B4.v4.23.8"})");
  EXPECT_EQ(json(doc["system"]), R"({"cpu":20,"loadavg":0.5199999809265137,"uptime":3605})");
  EXPECT_EQ(json(doc["network"]),
            R"({"bytesRx":9876543,"bytesTx":123456,"dns":"192.168.1.1","gw":"192.168.1.1",)"
            R"("ip":"192.168.1.57","leaseTime":86400,"mask":"255.255.255.0","nic":"eth0",)"
            R"("speed":100})");
  EXPECT_EQ(json(doc["wifi"]),
            R"({"bssid":"74:83:c2:1a:2b:3c","channel":6,"connectionState":"CONNECTED",)"
            R"("frequency":2437,"keyManagement":"WPA2-PSK","mode":"station","noise":95,)"
            R"("quality":58,"qualityMax":70,"signal":52,"ssid":"HomeNet","txpower":20})");
  EXPECT_EQ(json(doc["device"]),
            R"({"bootedAsStandalone":0,"firstTimeUse":true,"language":"en-US"})");
  EXPECT_EQ(json(doc["request"]), R"({"remoteIp":"192.0.2.7"})");
  EXPECT_EQ(json(doc["controller"]), R"({"adopted":true,"host":"ctl.example.com"})");
  EXPECT_EQ(json(doc["hostName"]), R"("Orvo Camera")");
  EXPECT_EQ(doc.KeysCount(), 10u);
}

TEST_F(StatusDocument, AccessPointModeGivesOnlyTheMode) {
  Variant reply = stationReply();
  reply["wlanMode"] = "master";
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(reply));
  CgiResult run = get();
  ASSERT_EQ(run.status, "200");
  EXPECT_EQ(json(document(run)["wifi"]), R"({"mode":"master"})");
}

TEST_F(StatusDocument, StationDefaultsForMissingFields) {
  Variant reply = stationReply();
  reply.RemoveValue("channel", false);
  reply.RemoveValue("qualityMax", false);
  reply.RemoveValue("connectionStateDescription", false);
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(reply));
  Variant wifi = document(get())["wifi"];
  EXPECT_EQ(json(wifi["channel"]), "-1");
  EXPECT_EQ(json(wifi["qualityMax"]), "1");
  EXPECT_EQ(json(wifi["connectionState"]), R"("UNKNOWN")");
}

TEST_F(StatusDocument, CameraWithoutWirelessHasEmptyWifi) {
  Variant info = statustest::defaultCameraInfo();
  info["feature_wifi"] = 0;
  root_.writeCameraInfo(info);
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(stationReply()));
  Variant doc = document(get());
  EXPECT_EQ(json(doc["wifi"]), "null");
  EXPECT_EQ(json(doc["features"]["wifi"]), "0");
}

TEST_F(StatusDocument, InterfaceMissingFromStatisticsHasNoCounters) {
  Variant reply = stationReply();
  reply["defaultInterface"] = "wlan0";
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(reply));
  Variant net = document(get())["network"];
  EXPECT_EQ(json(net["nic"]), R"("wlan0")");
  EXPECT_EQ(net.GetKeyChain(orvo::variant::VT_ANY, "bytesRx", false), nullptr);
  EXPECT_EQ(net.GetKeyChain(orvo::variant::VT_ANY, "bytesTx", false), nullptr);
}

TEST_F(StatusDocument, UnsetConfigurationValuesTakeTheirDefaults) {
  root_.write("/etc/orvo/system.cfg", "httpd.anonSnapshot=1\n");
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(stationReply()));
  Variant device = document(get())["device"];
  EXPECT_EQ(json(device["language"]), R"("en-US")");
  EXPECT_EQ(json(device["firstTimeUse"]), "true");
}

TEST_F(StatusDocument, StoredFirstTimeUseZeroIsFalse) {
  root_.write("/etc/orvo/system.cfg", "device.firstTimeUse=0\ndevice.language=fr\n");
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(stationReply()));
  Variant device = document(get())["device"];
  EXPECT_EQ(json(device["firstTimeUse"]), "false");
  EXPECT_EQ(json(device["language"]), R"("fr")");
}

TEST_F(StatusDocument, UnreadableConfigurationValueAnswersAnEmptyDocument) {
  root_.write("/etc/orvo/system.cfg", "device.firstTimeUse=maybe\n");
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(stationReply()));
  CgiResult run = get();
  EXPECT_EQ(run.status, "200");
  EXPECT_EQ(run.body, "null");
  EXPECT_TRUE(statustest::loggedText(run, "Failed to get device.firstTimeUse value"));
}

TEST_F(StatusDocument, VideoChipDeviceThatIsNoChipGivesNoTemperature) {
  root_.write("/dev/iav", "not a device");
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(stationReply()));
  CgiResult run = get();
  ASSERT_EQ(run.status, "200");
  EXPECT_EQ(document(run)["system"].GetKeyChain(orvo::variant::VT_ANY, "temperature", false),
            nullptr);
}

TEST_F(StatusDocument, EmptyDefaultInterfaceFails) {
  Variant reply = stationReply();
  reply["defaultInterface"] = "";
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(reply));
  CgiResult run = get();
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.out, kUntouched);
  EXPECT_EQ(statustest::logged(run, "Failed to read NIC properties"),
            std::vector<std::string>{"err RestGetStatus"});
}

TEST_F(StatusDocument, NetworkDaemonDownFails) {
  CgiResult run = get();
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.out, kUntouched);
  EXPECT_TRUE(statustest::loggedText(run, "Unable to send IPC to orvo_networkd"));
  EXPECT_EQ(statustest::logged(run, "Failed to query NetworkStatus"),
            std::vector<std::string>{"err RestGetStatus"});
}

TEST_F(StatusDocument, MissingDescriptionFails) {
  unlink(root_.file("/etc/orvo/camera_info.json").c_str());
  std::vector<std::string> found;
  for (char const* version : {"1.2", "0.1"}) {
    CgiResult run = get(version);
    EXPECT_EQ(run.returned(), -1);
    EXPECT_EQ(run.out, kUntouched);
    for (auto const& place : statustest::logged(run, "Failed to initialize CameraInfo manager")) {
      found.push_back(place);
    }
  }
  // Each builder logs under its own name.
  EXPECT_EQ(found, (std::vector<std::string>{"err RestGetStatus", "err RestGetStatus_0_1"}));
}

TEST_F(StatusDocument, MissingConfigurationFails) {
  unlink(root_.file("/etc/orvo/system.cfg").c_str());
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(stationReply()));
  CgiResult run = get();
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.out, kUntouched);
  EXPECT_EQ(statustest::logged(run, "Failed to initialize system cfg manager"),
            std::vector<std::string>{"err RestGetStatus"});
}

TEST_F(StatusDocument, UnreadableStatisticsFail) {
  root_.write("/proc/stat", "garbage\n");
  CgiResult run = get();
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(statustest::logged(run, "Failed to get system stats"),
            std::vector<std::string>{"err RestGetStatus"});
}

TEST_F(StatusDocument, MissingFeatureFlagEndsTheProcess) {
  Variant info = statustest::defaultCameraInfo();
  info.RemoveValue("feature_ldc", false);
  root_.writeCameraInfo(info);
  CgiResult run = get();
  EXPECT_FALSE(run.exited);
  EXPECT_EQ(run.signal, SIGABRT);
  EXPECT_EQ(run.out, "");  // ended before the response could commit
  EXPECT_EQ(statustest::logged(run, "Key \"feature_ldc\" not available"),
            std::vector<std::string>{"err feature_ldc"});
}

TEST_F(StatusDocument, MistypedBoardNameEndsTheProcess) {
  Variant info = statustest::defaultCameraInfo();
  info["name"] = 7;
  root_.writeCameraInfo(info);
  CgiResult run = get();
  EXPECT_EQ(run.signal, SIGABRT);
  EXPECT_EQ(statustest::logged(run, "Key \"name\" has a different type than expected"),
            std::vector<std::string>{"err name"});
}

TEST_F(StatusDocument, MistypedDefaultingKeysTakeTheirDefaults) {
  Variant info = statustest::defaultCameraInfo();
  info["semVer"] = 4;
  info["reboot"] = "ninety";
  info.RemoveValue("hwaddr", false);
  root_.writeCameraInfo(info);
  Daemon network(root_, orvo::daemons::kNetworkd, networkScript(stationReply()));
  Variant doc = document(get());
  EXPECT_EQ(json(doc["fw"]["semver"]), R"("")");
  EXPECT_EQ(json(doc["board"]["maxTimeoutReboot"]), "0");
  EXPECT_EQ(json(doc["board"]["hwaddr"]), R"("")");
}
