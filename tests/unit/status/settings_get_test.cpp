// The settings read: eleven questions to seven scripted daemons in one batch.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <regex>

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

Script answering(char const* function, char const* answer) {
  Script script;
  script.answers[function] = statustest::parse(answer);
  return script;
}

// Every daemon the read asks, with answers a camera would give.
std::map<std::string, Script> cameraScripts() {
  std::map<std::string, Script> scripts;
  scripts[orvo::daemons::kIspServer] = answering("ChangeIspSettings", R"({"brightness":50})");
  scripts[orvo::daemons::kStreamer] = answering("ChangeVideoSettings", R"({"audio":{"volume":80}})");
  scripts[orvo::daemons::kOsd] = answering("ChangeOsdSettings", R"({"useISO8601":true})");
  scripts[orvo::daemons::kNvr] = answering("ChangeNvrSettings", R"({"rtspPort":554})");
  scripts[orvo::daemons::kAnalytics] = answering("ChangeAnalyticsSettings", R"({"sendEvents":1})");
  scripts[orvo::daemons::kSoundsLeds] = answering("ChangeSoundLedSettings", R"({"speakerVolume":60})");
  Script network;
  network.answers["ChangeNetworkSettings"] = statustest::parse(R"({
    "wifi": {"ssid": "HomeNet", "key": "psk", "wpa": {"auth": "wpa2", "psk": "secret123"}},
    "dhcp": {"status": 0, "fallbackIP": "192.168.1.20", "fallbackNetmask": "255.255.255.0"},
    "statik": {"ip": "10.0.0.5", "netmask": "255.0.0.0"}, "routes": {"gateway": "10.0.0.1"},
    "dns": {"ns1": {"status": 1, "ip": "10.0.0.2"}, "ns2": {"status": 1, "ip": "10.0.0.3"}}})");
  network.answers["NetworkStatus"] = statustest::parse(R"({"mode": "static"})");
  scripts[orvo::daemons::kNetworkd] = network;
  Script ctl;
  ctl.answers["ChangeDeviceSettings"] =
      statustest::parse(R"({"name":"Porch","timezone":"Europe/Paris","region":"EU"})");
  ctl.answers["ChangeUsernamePassword"] = statustest::parse(R"({"username":"admin"})");
  scripts[orvo::daemons::kCtlServer] = ctl;
  scripts[orvo::daemons::kAvclient] =
      answering("GetAvclientState", R"({"host":"ctl.example.com","uuid":"u-1"})");
  return scripts;
}

class SettingsRead : public ::testing::Test {
 protected:
  void start(std::map<std::string, Script> const& scripts) {
    for (auto const& entry : scripts) {
      daemons_[entry.first] = std::make_unique<Daemon>(root_, entry.first, entry.second);
    }
  }
  CgiResult get() { return statustest::runHandler(root_, Handler::kSettings, "GET"); }
  std::vector<std::string> functionsReceived(std::string const& daemon) {
    std::vector<std::string> names;
    for (Variant& message : daemons_[daemon]->received()) {
      names.push_back(static_cast<std::string const&>(message["functionName"]));
    }
    return names;
  }
  Root root_;
  std::map<std::string, std::unique_ptr<Daemon>> daemons_;
};

}  // namespace

TEST_F(SettingsRead, MergesEveryAnswerAndTheConfiguration) {
  root_.write("/etc/orvo/system.cfg",
              "device.firstTimeUse=0\ndevice.language=fr\nhttpd.anonSnapshot=1\n");
  start(cameraScripts());
  CgiResult run = get();
  ASSERT_EQ(run.status, "200") << run.out;
  Variant doc = statustest::parse(run.body);
  EXPECT_EQ(json(doc["device"]),
            R"({"auth":{"username":"admin"},"firstTimeUse":false,"language":"fr",)"
            R"("name":"Porch","region":"EU","timezone":"Europe/Paris"})");
  EXPECT_EQ(json(doc["wifi"]), R"({"auth":"wpa2","key":"psk","ssid":"HomeNet"})");
  EXPECT_EQ(json(doc["net"]),
            R"({"dhcpFallbackIP":"192.168.1.20","dhcpFallbackNetmask":"255.255.255.0",)"
            R"("dns1":"10.0.0.2","dns2":"10.0.0.3","gw":"10.0.0.1","ip":"10.0.0.5",)"
            R"("mask":"255.0.0.0","mode":"static"})");
  EXPECT_EQ(json(doc["controller"]), R"({"addr":"ctl.example.com","uuid":"u-1"})");
  EXPECT_EQ(json(doc["httpd"]), R"({"anonSnapshot":1})");
  EXPECT_EQ(json(doc["isp"]["brightness"]), "50");
  EXPECT_EQ(json(doc["av"]["audio"]), R"({"volume":80})");
  EXPECT_EQ(json(doc["osd"]["useISO8601"]), "true");
  EXPECT_EQ(json(doc["nvr"]["rtspPort"]), "554");
  EXPECT_EQ(json(doc["analytics"]["sendEvents"]), "1");
  EXPECT_EQ(json(doc["soundled"]["speakerVolume"]), "60");
  EXPECT_EQ(doc.KeysCount(), 11u);
  EXPECT_EQ(functionsReceived(orvo::daemons::kNetworkd),
            (std::vector<std::string>{"ChangeNetworkSettings", "NetworkStatus"}));
  EXPECT_EQ(functionsReceived(orvo::daemons::kCtlServer),
            (std::vector<std::string>{"ChangeDeviceSettings", "ChangeUsernamePassword"}));
  EXPECT_EQ(functionsReceived(orvo::daemons::kAvclient), std::vector<std::string>{"GetAvclientState"});
}

TEST_F(SettingsRead, QuestionsCarryNoSettings) {
  start(cameraScripts());
  ASSERT_EQ(get().status, "200");
  Variant question = daemons_[orvo::daemons::kIspServer]->received().at(0);
  EXPECT_EQ(question.GetKeyChain(orvo::variant::VT_ANY, "brightness", false), nullptr);
  EXPECT_EQ(json(question["responseExpected"]), "true");
}

TEST_F(SettingsRead, SilentStreamerLeavesAvEmpty) {
  auto scripts = cameraScripts();
  scripts[orvo::daemons::kStreamer].silent = true;
  start(scripts);
  CgiResult run = get();
  ASSERT_EQ(run.status, "200");
  Variant doc = statustest::parse(run.body);
  EXPECT_EQ(json(doc["av"]), "null");
  EXPECT_EQ(json(doc["isp"]["brightness"]), "50");
}

TEST_F(SettingsRead, SlowDaemonIsNamedInTheLog) {
  auto scripts = cameraScripts();
  scripts[orvo::daemons::kOsd].delayMs = 1150;
  start(scripts);
  CgiResult run = get();
  ASSERT_EQ(run.status, "200");
  std::regex const slowOsd(R"(msgOsd took (\d+)-ms to process the request)");
  int slowLines = 0;
  for (orvo::test::LogRecord const& record : run.log) {
    std::smatch match;
    if (std::regex_match(record.text, match, slowOsd)) {
      ++slowLines;
      EXPECT_EQ(record.level, "warning");
      EXPECT_EQ(record.tag, "orvo_cgi");
      EXPECT_EQ(record.file, "src/rest_settings");
      EXPECT_EQ(record.function, "handle_get");
      EXPECT_GE(std::stoul(match[1]), 1150u);
    }
    EXPECT_EQ(record.text.find("msgIsp took"), std::string::npos);
  }
  EXPECT_EQ(slowLines, 1);
}

TEST_F(SettingsRead, UnsetConfigurationValues) {
  root_.write("/etc/orvo/system.cfg", "");
  start(cameraScripts());
  Variant doc = statustest::parse(get().body);
  EXPECT_EQ(json(doc["device"]["language"]), R"("")");
  EXPECT_EQ(json(doc["device"]["firstTimeUse"]), "true");
  EXPECT_EQ(json(doc["httpd"]["anonSnapshot"]), "0");
}

TEST_F(SettingsRead, NoStaticAddressGivesEmptyStrings) {
  auto scripts = cameraScripts();
  scripts[orvo::daemons::kNetworkd].answers["ChangeNetworkSettings"] =
      statustest::parse(R"({"dhcp":{"status":1},"statik":{}})");
  start(scripts);
  Variant doc = statustest::parse(get().body);
  EXPECT_EQ(json(doc["net"]["ip"]), R"("")");
  EXPECT_EQ(json(doc["net"]["mask"]), R"("")");
  EXPECT_EQ(json(doc["wifi"]["ssid"]), R"("")");
}

TEST_F(SettingsRead, UnreadableConfigurationValueFails) {
  root_.write("/etc/orvo/system.cfg", "httpd.anonSnapshot=yes\n");
  start(cameraScripts());
  CgiResult run = get();
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.out, kUntouched);
  EXPECT_EQ(statustest::logged(run, "Failed to get httpd.anonSnapshot value"),
            std::vector<std::string>{"err handle_get"});
}

TEST_F(SettingsRead, UnreadableFirstTimeUseFails) {
  root_.write("/etc/orvo/system.cfg", "device.firstTimeUse=maybe\n");
  start(cameraScripts());
  CgiResult run = get();
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.out, kUntouched);
  EXPECT_EQ(statustest::logged(run, "Failed to get device.firstTimeUse value"),
            std::vector<std::string>{"err handle_get"});
}

TEST_F(SettingsRead, MissingConfigurationFails) {
  unlink(root_.file("/etc/orvo/system.cfg").c_str());
  start(cameraScripts());
  CgiResult run = get();
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.out, kUntouched);
  EXPECT_EQ(statustest::logged(run, "Failed to initialize system cfg manager"),
            std::vector<std::string>{"err handle_get"});
}

TEST_F(SettingsRead, MissingDescriptionFails) {
  unlink(root_.file("/etc/orvo/camera_info.json").c_str());
  start(cameraScripts());
  CgiResult run = get();
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.out, kUntouched);
  EXPECT_EQ(statustest::logged(run, "Failed to initialize camera info manager"),
            std::vector<std::string>{"err handle_get"});
}

TEST_F(SettingsRead, OtherMethodsAreRefusedWithAnEmptyAnswer) {
  CgiResult run = statustest::runHandler(root_, Handler::kSettings, "DELETE");
  EXPECT_EQ(run.returned(), 0);
  EXPECT_EQ(run.out, kUntouched);
  std::vector<std::string> const lines = statustest::logged(run, "Unsupported method 'DELETE'");
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "err rest_settings_main"), 1);
}
