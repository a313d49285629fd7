// Each daemon's answers, called in-process against a temporary root.
#include <gtest/gtest.h>

#include <string>

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
      "wifi": {"ssid": "HomeNet"}})");
  status = ask(orvo::daemons::kNetworkd, R"({"functionName": "NetworkStatus"})");
  EXPECT_TRUE(status["mode"] == "static");
  EXPECT_TRUE(status["ipAddress"] == "10.1.2.3");
  EXPECT_TRUE(status["networkMask"] == "255.255.0.0");
  EXPECT_TRUE(status["gateway"] == "10.1.0.1");
  EXPECT_TRUE(status["dnsServer"] == "10.1.0.2");
  EXPECT_TRUE(status["wlanMode"] == "station");
  EXPECT_TRUE(status["essid"] == "HomeNet");
  EXPECT_EQ(static_cast<int>(status["channel"]), 6);
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
  EXPECT_TRUE(adopted["adopted"] == true);
  Variant after = ask(orvo::daemons::kAvclient, R"({"functionName": "GetAvclientState"})");
  EXPECT_TRUE(after["adopted"] == true);
  EXPECT_TRUE(after["host"] == "ctl.example.com:443");
  EXPECT_EQ(after["uuid"].ToString().size(), 36u);
  EXPECT_FALSE(after.GetKeyChain(orvo::variant::VT_ANY, "token", false));
  Variant file;
  ASSERT_TRUE(file.FromJSONFile(orvo::utils::devicePath("/etc/avclient_state.json")));
  EXPECT_TRUE(file == after);
  Variant waited = ask(orvo::daemons::kAvclient, R"({"functionName": "CancelWait"})");
  EXPECT_TRUE(waited["state"] == "connected");
}

}  // namespace
