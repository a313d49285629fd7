// Each daemon's answers, called in-process against a temporary root.
#include <gtest/gtest.h>

#include <string>

#include "access_points.h"
#include "daemon_names.h"
#include "daemon_table.h"
#include "daemon_test_support.h"
#include "default_state.h"
#include "orvo/utils/paths.h"
#include "state_store.h"

namespace {

using daemontest::parse;
using orvo::variant::Variant;
namespace sim = orvo::sim;

class Handlers : public ::testing::Test {
 protected:
  void SetUp() override { daemontest::cameraRoot(); }
  static Variant ask(char const* daemon, char const* json) {
    return sim::handleRequest(daemon, parse(json));
  }
  static bool hasError(Variant const& answer) {
    return answer.GetKeyChain(orvo::variant::VT_STRING, "error", false) != nullptr;
  }
};

TEST_F(Handlers, ChangeIsStoredAndAnsweredWithFullSettings) {
  Variant answer = ask(orvo::daemons::kIspServer, R"({"functionName": "ChangeIspSettings", "sharpness": 80})");
  EXPECT_EQ(static_cast<int>(answer["sharpness"]), 80);
  EXPECT_EQ(static_cast<int>(answer["brightness"]), 50);
  Variant read = ask(orvo::daemons::kIspServer, R"({"functionName": "ChangeIspSettings"})");
  EXPECT_TRUE(read == answer);
  Variant state;
  ASSERT_TRUE(sim::readState(orvo::daemons::kIspServer, state));
  EXPECT_EQ(static_cast<int>(state["settings"]["sharpness"]), 80);
}

TEST_F(Handlers, ResetIspSettingsRestoresThePictureDefaults) {
  ask(orvo::daemons::kIspServer, R"({"functionName": "ChangeIspSettings", "contrast": 5, "flip": 1})");
  Variant answer = ask(orvo::daemons::kIspServer, R"({"functionName": "ResetIspSettings"})");
  EXPECT_TRUE(answer == sim::defaultState(orvo::daemons::kIspServer)["settings"]);
}

TEST_F(Handlers, UnknownFunctionIsAnErrorAnswer) {
  EXPECT_TRUE(hasError(ask(orvo::daemons::kOsd, R"({"functionName": "ChangeIspSettings"})")));
  EXPECT_TRUE(hasError(ask(orvo::daemons::kOsd, R"({"functionName": "Explode"})")));
  EXPECT_TRUE(hasError(ask(orvo::daemons::kOsd, R"({})")));
  EXPECT_TRUE(hasError(sim::handleRequest(orvo::daemons::kOsd, Variant("text"))));
}

TEST_F(Handlers, NetworkStatusFollowsTheAddressing) {
  Variant status = ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})");
  EXPECT_TRUE(status["mode"] == "dhcp");
  EXPECT_TRUE(status["defaultInterface"] == "eth0");
  EXPECT_TRUE(status["ipAddress"] == "192.168.1.57");
  EXPECT_TRUE(status["wlanMode"] == "disabled");
  ask(orvo::daemons::kNetworkd, R"({"functionName": "ChangeNetworkSettings",
      "dhcp": {"status": 0}, "statik": {"ip": "10.1.2.3", "netmask": "255.255.0.0"},
      "routes": {"gateway": "10.1.0.1"}, "dns": {"ns1": {"status": 1, "ip": "10.1.0.2"}},
      "wifi": {"ssid": "HomeNet", "key": "wpa", "wpa": {"psk": "orchard-lane-42"}}})");
  status = ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})");
  EXPECT_TRUE(status["mode"] == "static");
  EXPECT_TRUE(status["ipAddress"] == "10.1.2.3");
  EXPECT_TRUE(status["networkMask"] == "255.255.0.0");
  EXPECT_TRUE(status["gateway"] == "10.1.0.1");
  EXPECT_TRUE(status["dnsServer"] == "10.1.0.2");
  EXPECT_TRUE(status["dns"] == "10.1.0.2");
  EXPECT_TRUE(status["wlanMode"] == "station");
  EXPECT_FALSE(status.Has(orvo::variant::VT_ANY, "passphrase"));
  EXPECT_TRUE(status["essid"] == "HomeNet");
  EXPECT_EQ(static_cast<int>(status["channel"]), 6);
}

// The setup form sends the switches as booleans, the settings write as 1/0.
TEST_F(Handlers, BooleanSwitchesAreStoredAsNumbers) {
  ask(orvo::daemons::kNetworkd, R"({"functionName": "ChangeNetworkSettings",
      "dhcp": {"status": false}, "statik": {"ip": "10.1.2.3", "netmask": "255.0.0.0"},
      "dns": {"ns1": {"status": true, "ip": "10.1.0.2"}, "ns2": {"status": true, "ip": "10.1.0.3"}}})");
  Variant state;
  ASSERT_TRUE(sim::readState(orvo::daemons::kNetworkd, state));
  EXPECT_EQ(static_cast<int>(state["settings"]["dhcp"]["status"]), 0);
  EXPECT_EQ(static_cast<int>(state["settings"]["dns"]["ns2"]["status"]), 1);
  Variant status = ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})");
  EXPECT_TRUE(status["mode"] == "static");
  EXPECT_TRUE(status["dnsServer"] == "10.1.0.2 10.1.0.3");
  EXPECT_TRUE(status["dns"] == "10.1.0.2 10.1.0.3");
  ask(orvo::daemons::kNetworkd, R"({"functionName": "ChangeNetworkSettings", "dhcp": {"status": true}})");
  status = ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})");
  EXPECT_TRUE(status["mode"] == "dhcp");
  EXPECT_TRUE(status["dns"] == "192.168.1.1");
  EXPECT_TRUE(status["dnsServer"] == "192.168.1.1");
}

TEST_F(Handlers, DirectChangeWithAWrongPassphraseLeavesTheStationSearching) {
  ask(orvo::daemons::kNetworkd, R"({"functionName": "ChangeNetworkSettings",
      "wifi": {"ssid": "HomeNet", "key": "wpa", "wpa": {"auth": "psk", "psk": "guess-what"}}})");
  Variant status = ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})");
  EXPECT_TRUE(status["wlanMode"] == "searching");
  EXPECT_FALSE(status.Has(orvo::variant::VT_ANY, "essid"));
}

TEST_F(Handlers, TestedChangeKeepsTheOldNetworkWhenTheNewOneFails) {
  ask(orvo::daemons::kNetworkd, R"({"functionName": "TestAndApplyNetworkSettings",
      "wifi": {"ssid": "CoffeeShop Guest", "key": "none"}})");
  Variant status = ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})");
  EXPECT_TRUE(status["essid"] == "CoffeeShop Guest");
  // Wrong passphrase, then a network out of sight: both keep the open one.
  Variant answer = ask(orvo::daemons::kNetworkd, R"({"functionName": "TestAndApplyNetworkSettings",
      "wifi": {"ssid": "HomeNet", "key": "wpa", "wpa": {"psk": "guess-what"}},
      "statik": {"ip": "10.9.9.9"}})");
  EXPECT_TRUE(answer["wifi"]["ssid"] == "CoffeeShop Guest");
  EXPECT_TRUE(answer["statik"]["ip"] == "10.9.9.9");
  ask(orvo::daemons::kNetworkd, R"({"functionName": "TestAndApplyNetworkSettings",
      "wifi": {"ssid": "Elsewhere", "key": "none"}})");
  status = ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})");
  EXPECT_TRUE(status["essid"] == "CoffeeShop Guest");
  ask(orvo::daemons::kNetworkd, R"({"functionName": "TestAndApplyNetworkSettings",
      "wifi": {"ssid": "HomeNet", "key": "wpa", "wpa": {"psk": "orchard-lane-42"}}})");
  status = ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})");
  EXPECT_TRUE(status["essid"] == "HomeNet");
}

TEST_F(Handlers, ScanListsAccessPointsWithoutPassphrases) {
  Variant answer = ask(orvo::daemons::kNetworkd, R"({"functionName": "ScanAP"})");
  ASSERT_EQ(answer["accessPoints"].KeysCount(), 3u);
  for (Variant const& ap : answer["accessPoints"].Elements()) {
    EXPECT_FALSE(ap.StringAt("ssid").empty());
    EXPECT_FALSE(ap.Has(orvo::variant::VT_ANY, "passphrase"));
  }
}

TEST_F(Handlers, VisibleNetworksAreAddedReplacedAndRemoved) {
  ASSERT_TRUE(sim::resetState(orvo::daemons::kNetworkd));
  EXPECT_EQ(sim::setAccessPoint("Attic", "attic-pass-1", -45), "");
  EXPECT_EQ(sim::setAccessPoint("Attic", "attic-pass-2", -70), "");
  Variant state;
  ASSERT_TRUE(sim::readState(orvo::daemons::kNetworkd, state));
  ASSERT_EQ(state["accessPoints"].KeysCount(), 4u);
  Variant const& attic = state["accessPoints"][3];
  EXPECT_EQ(attic.StringAt("essid"), "Attic");
  EXPECT_EQ(attic.StringAt("passphrase"), "attic-pass-2");
  EXPECT_EQ(attic.IntAt("signalLevel"), 70);
  EXPECT_EQ(attic.IntAt("quality"), 40);
  EXPECT_EQ(attic.StringAt("keyManagement"), "WPA2-PSK");
  ask(orvo::daemons::kNetworkd, R"({"functionName": "ChangeNetworkSettings",
      "wifi": {"ssid": "Attic", "key": "wpa", "wpa": {"psk": "attic-pass-2"}}})");
  EXPECT_TRUE(ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})")["wlanMode"] ==
              "station");
  EXPECT_EQ(sim::removeAccessPoint("Attic"), "");
  EXPECT_TRUE(ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})")["wlanMode"] ==
              "searching");
  EXPECT_EQ(sim::removeAccessPoint("Attic"), "no visible network 'Attic'");
  EXPECT_EQ(sim::setAccessPoint("Open", "", -30), "");
  ASSERT_TRUE(sim::readState(orvo::daemons::kNetworkd, state));
  EXPECT_TRUE(state["accessPoints"][3]["keyManagement"] == "NONE");
  EXPECT_EQ(static_cast<int>(state["accessPoints"][3]["quality"]), 70);
}

TEST_F(Handlers, VisibleNetworkArgumentsAreChecked) {
  ASSERT_TRUE(sim::resetState(orvo::daemons::kNetworkd));
  EXPECT_NE(sim::setAccessPoint("", "attic-pass-1", -45), "");
  EXPECT_NE(sim::setAccessPoint(std::string(33, 's'), "attic-pass-1", -45), "");
  EXPECT_NE(sim::setAccessPoint("Attic", "short", -45), "");
  EXPECT_NE(sim::setAccessPoint("Attic", "attic-pass-1", -10), "");
  EXPECT_NE(sim::setAccessPoint("Attic", "attic-pass-1", -101), "");
  Variant state;
  ASSERT_TRUE(sim::readState(orvo::daemons::kNetworkd, state));
  EXPECT_EQ(state["accessPoints"].KeysCount(), 3u);
}

TEST_F(Handlers, ServicesStartAndStop) {
  Variant answer = ask(orvo::daemons::kCtlServer, R"({"functionName": "StartService", "service": "ssh"})");
  EXPECT_TRUE(answer["services"]["ssh"] == true);
  answer = ask(orvo::daemons::kCtlServer, R"({"functionName": "StopService", "service": "ntp"})");
  EXPECT_TRUE(answer["services"]["ntp"] == false);
  EXPECT_TRUE(answer["services"]["ssh"] == true);
  EXPECT_TRUE(hasError(ask(orvo::daemons::kCtlServer, R"({"functionName": "StopService", "service": "x"})")));
}

TEST_F(Handlers, AdoptionIsRecordedAndPublished) {
  Variant before = ask(orvo::daemons::kAvclient, R"({"functionName": "GetAvclientState"})");
  EXPECT_TRUE(before["adopted"] == false);
  Variant adopted = ask(orvo::daemons::kAvclient, R"({"functionName": "Adopt",
      "hosts": ["ctl.example.com:443"], "token": "secret"})");
  // Under way until the controller confirms it.
  EXPECT_TRUE(adopted["adopted"] == false);
  EXPECT_TRUE(adopted["state"] == "adopting");
  Variant after = ask(orvo::daemons::kAvclient, R"({"functionName": "GetAvclientState"})");
  EXPECT_TRUE(after["adopted"] == false);
  EXPECT_TRUE(after["protocol"] == "wss");
  EXPECT_TRUE(after["host"] == "ctl.example.com:443");
  EXPECT_EQ(after["uuid"].ToString().size(), 36u);
  EXPECT_FALSE(after.GetKeyChain(orvo::variant::VT_ANY, "token", false));
  Variant file;
  ASSERT_TRUE(file.FromJSONFile(orvo::utils::devicePath("/etc/avclient_state.json")));
  EXPECT_TRUE(file == after);
  Variant waited = ask(orvo::daemons::kAvclient, R"({"functionName": "CancelWait"})");
  EXPECT_TRUE(waited["state"] == "adopting");
  ASSERT_TRUE(sim::setAdoption(true));
  waited = ask(orvo::daemons::kAvclient, R"({"functionName": "CancelWait"})");
  EXPECT_TRUE(waited["state"] == "connected");
  Variant state;
  ASSERT_TRUE(sim::readState(orvo::daemons::kAvclient, state));
  EXPECT_EQ(static_cast<int>(state["cancelWaits"]), 2);
}

}  // namespace
