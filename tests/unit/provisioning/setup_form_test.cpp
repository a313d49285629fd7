// The setup form without a camera process: which forms pass and what each
// logs, the network change a form becomes, the configuration writer's
// arguments, and the form a GET builds from the daemon's answers.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "endpoints/setup.h"

using orvo::variant::Variant;
using namespace orvo::rest::setup;

namespace {

Variant parse(std::string const& text) {
  Variant value;
  EXPECT_TRUE(value.FromJSON(text)) << text;
  return value;
}

std::string json(Variant const& value) {
  std::string text;
  value.ToJSON(text, false);
  return text;
}

// The checks log; the records go to a camera root of this test program.
class SetupForm : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    static std::string root = std::string(ORVO_BINARY_DIR) + "/tmp/setup-form-XXXXXX";
    ASSERT_NE(mkdtemp(root.data()), nullptr);
    ASSERT_EQ(system(("mkdir -p " + root + "/var/log").c_str()), 0);
    setenv("ORVO_ROOT", root.c_str(), 1);
    root_ = root;
  }
  static void TearDownTestSuite() { system(("rm -rf " + root_).c_str()); }
  void SetUp() override { std::ofstream(root_ + "/var/log/messages", std::ios::trunc); }

  // The texts logged since the test began, "<function>: <text>" each.
  static std::vector<std::string> logged() {
    std::ifstream in(root_ + "/var/log/messages");
    std::vector<std::string> out;
    for (std::string line; std::getline(in, line);) {
      std::size_t const file = line.find("src/rest_setup:");
      if (file == std::string::npos) continue;
      std::string const rest = line.substr(file + std::string("src/rest_setup:").size());
      std::size_t const lineNumber = rest.find(':');
      std::size_t const text = rest.find(": ", lineNumber + 1);
      out.push_back(rest.substr(0, lineNumber) + ": " + rest.substr(text + 2));
    }
    return out;
  }
  static bool valid(std::string const& body) { return isValidPutRequest(parse(body)); }
  static std::vector<std::string> refusal(std::string const& body) {
    EXPECT_FALSE(valid(body)) << body;
    return logged();
  }

  static std::string root_;
};

std::string SetupForm::root_;

using Lines = std::vector<std::string>;

TEST_F(SetupForm, EmptyFormIsValid) {
  EXPECT_TRUE(valid("{}"));
  EXPECT_TRUE(logged().empty());
}

TEST_F(SetupForm, WirelessRules) {
  EXPECT_EQ(refusal(R"({"wifiSsid":"n"})"), Lines{"isValidPutRequest: Missing 'wifiKey' param"});
}

TEST_F(SetupForm, WirelessKeyMustBeNoneOrWpa) {
  EXPECT_EQ(refusal(R"({"wifiSsid":"n","wifiKey":"wep"})"),
            Lines{"isValidPutRequest: Unknown 'wifiKey' value: wep"});
}

TEST_F(SetupForm, OpenNetworkNeedsNoAuthNorPassphrase) {
  EXPECT_TRUE(valid(R"({"wifiSsid":"n","wifiKey":"none"})"));
  EXPECT_TRUE(valid(R"({"wifiSsid":"n","wifiKey":"none","wifiAuth":"sae"})"));
}

TEST_F(SetupForm, WpaNeedsPskAuthAndPassphrase) {
  EXPECT_EQ(refusal(R"({"wifiSsid":"n","wifiKey":"wpa"})"),
            Lines{"isValidPutRequest: Missing 'wifiAuth' param"});
}

TEST_F(SetupForm, WpaWithOtherAuthIsRefused) {
  EXPECT_EQ(refusal(R"({"wifiSsid":"n","wifiKey":"wpa","wifiAuth":"eap","wifiPsk":"p"})"),
            Lines{"isValidPutRequest: Unknown 'wifiAuth' value: eap"});
}

TEST_F(SetupForm, WpaWithoutPassphraseIsRefused) {
  EXPECT_EQ(refusal(R"({"wifiSsid":"n","wifiKey":"wpa","wifiAuth":"psk"})"),
            Lines{"isValidPutRequest: Missing 'wifiPsk' param"});
  EXPECT_TRUE(valid(R"({"wifiSsid":"n","wifiKey":"wpa","wifiAuth":"psk","wifiPsk":"p"})"));
}

TEST_F(SetupForm, WirelessKeyWithoutSsidIsNotChecked) {
  EXPECT_TRUE(valid(R"({"wifiKey":"bogus"})"));
}

TEST_F(SetupForm, ModeMustBeDhcpOrStatic) {
  EXPECT_EQ(refusal(R"({"netMode":"auto"})"), Lines{"isValidPutRequest: Invalid 'netMode' value: auto"});
  EXPECT_TRUE(valid(R"({"netMode":"dhcp"})"));
}

TEST_F(SetupForm, StaticNeedsAddressMaskGatewayInThatOrder) {
  EXPECT_EQ(refusal(R"({"netMode":"static","netGw":"g"})"),
            Lines{"isValidPutRequest: Missing 'netIp' param"});
}

TEST_F(SetupForm, StaticWithoutMask) {
  EXPECT_EQ(refusal(R"({"netMode":"static","netIp":"i","netGw":"g"})"),
            Lines{"isValidPutRequest: Missing 'netMask' param"});
}

TEST_F(SetupForm, StaticWithoutGateway) {
  EXPECT_EQ(refusal(R"({"netMode":"static","netIp":"i","netMask":"m"})"),
            Lines{"isValidPutRequest: Missing 'netGw' param"});
  EXPECT_TRUE(valid(R"({"netMode":"static","netIp":"i","netMask":"m","netGw":"g"})"));
}

TEST_F(SetupForm, ControllerWithoutOverrideNeedsBothOrNeither) {
  EXPECT_TRUE(valid(R"({"ctlAddr":"a","ctlUuid":"u"})"));
  EXPECT_EQ(refusal(R"({"ctlAddr":"a"})"),
            Lines{"isValidPutRequest: Missing 'ctlAddr' and/or 'ctlUuid' param"});
}

TEST_F(SetupForm, ControllerUuidAloneWithoutOverride) {
  EXPECT_EQ(refusal(R"({"ctlUuid":"u"})"),
            Lines{"isValidPutRequest: Missing 'ctlAddr' and/or 'ctlUuid' param"});
}

TEST_F(SetupForm, OverrideTrueNeedsOnlyTheAddress) {
  EXPECT_TRUE(valid(R"({"ctlAddr":"a","ctlOverride":true})"));
  EXPECT_EQ(refusal(R"({"ctlUuid":"u","ctlOverride":true})"),
            Lines{"isValidPutRequest: Missing 'ctlAddr' param"});
}

TEST_F(SetupForm, OverrideFalseNeedsBoth) {
  EXPECT_EQ(refusal(R"({"ctlAddr":"a","ctlOverride":false})"),
            Lines{"isValidPutRequest: Missing 'ctlUuid' param"});
}

TEST_F(SetupForm, OverrideFalseWithoutAddress) {
  EXPECT_EQ(refusal(R"({"ctlOverride":false})"), Lines{"isValidPutRequest: Missing 'ctlAddr' param"});
}

// A value of another type counts as absent, whatever the key.
TEST_F(SetupForm, WrongTypesCountAsAbsent) {
  EXPECT_EQ(refusal(R"({"wifiSsid":"n","wifiKey":1})"),
            Lines{"isValidPutRequest: Missing 'wifiKey' param"});
  EXPECT_TRUE(valid(R"({"wifiSsid":5,"wifiKey":1})"));
  EXPECT_TRUE(valid(R"({"netMode":["static"]})"));
  EXPECT_TRUE(valid(R"({"ctlAddr":1,"ctlUuid":true})"));
  // "ctlOverride" as a string is absent: the pair rule applies.
  EXPECT_TRUE(valid(R"({"ctlOverride":"true"})"));
}

TEST_F(SetupForm, WrongTypedOverrideFallsBackToThePairRule) {
  EXPECT_EQ(refusal(R"({"ctlAddr":"a","ctlOverride":1})"),
            Lines{"isValidPutRequest: Missing 'ctlAddr' and/or 'ctlUuid' param"});
}

TEST_F(SetupForm, ChecksStopAtTheFirstProblem) {
  EXPECT_EQ(refusal(R"({"wifiSsid":"n","netMode":"x","ctlAddr":"a"})"),
            Lines{"isValidPutRequest: Missing 'wifiKey' param"});
}

TEST(SetupNetworkChange, EmptyFormChangesNothing) {
  EXPECT_EQ(json(networkChange(parse("{}"))),
            R"({"functionName":"ChangeNetworkSettings","responseExpected":false})");
}

TEST(SetupNetworkChange, EveryFieldLandsWhereItBelongs) {
  Variant form = parse(R"({"wifiSsid":"HomeNet","wifiKey":"wpa","wifiAuth":"psk",
      "wifiPsk":"secret99","netMode":"static","netIp":"10.0.0.9","netMask":"255.0.0.0",
      "netGw":"10.0.0.1","netDns1":"10.0.0.2","netDns2":"10.0.0.3","ctlAddr":"c","ctlUuid":"u"})");
  EXPECT_EQ(json(networkChange(form)),
            R"({"dhcp":{"status":false},"dns":{"ns1":{"ip":"10.0.0.2","status":true},)"
            R"("ns2":{"ip":"10.0.0.3","status":true}},"functionName":"ChangeNetworkSettings",)"
            R"("responseExpected":false,"routes":{"gateway":"10.0.0.1"},)"
            R"("statik":{"ip":"10.0.0.9","netmask":"255.0.0.0"},)"
            R"("wifi":{"key":"wpa","ssid":"HomeNet","wpa":{"auth":"psk","psk":"secret99"}}})");
}

TEST(SetupNetworkChange, DhcpSetsTheSwitchTrue) {
  EXPECT_EQ(json(networkChange(parse(R"({"netMode":"dhcp"})"))),
            R"({"dhcp":{"status":true},"functionName":"ChangeNetworkSettings",)"
            R"("responseExpected":false})");
}

TEST(SetupNetworkChange, KeyWithoutSsidIsStillSent) {
  EXPECT_EQ(json(networkChange(parse(R"({"wifiKey":"none"})"))),
            R"({"functionName":"ChangeNetworkSettings","responseExpected":false,)"
            R"("wifi":{"key":"none"}})");
}

TEST(SetupNetworkChange, WrongTypedFieldsAreLeftOut) {
  EXPECT_EQ(json(networkChange(parse(R"({"netIp":1,"netDns1":null,"wifiSsid":{}})"))),
            R"({"functionName":"ChangeNetworkSettings","responseExpected":false})");
}

std::pair<ControllerCommand, std::vector<std::string>> command(std::string const& body) {
  std::vector<std::string> arguments{"left over"};
  ControllerCommand const what = controllerCommand(parse(body), arguments);
  return {what, arguments};
}

using Args = std::vector<std::string>;

TEST(SetupController, BothFieldsSetOrForce) {
  EXPECT_EQ(command(R"({"ctlAddr":"a","ctlUuid":"u"})"),
            std::make_pair(ControllerCommand::kRun, Args{"ctl", "set", "a", "u"}));
  EXPECT_EQ(command(R"({"ctlAddr":"a","ctlUuid":"u","ctlOverride":true})"),
            std::make_pair(ControllerCommand::kRun, Args{"ctl", "force", "a", "u"}));
  EXPECT_EQ(command(R"({"ctlAddr":"a","ctlUuid":"u","ctlOverride":false})"),
            std::make_pair(ControllerCommand::kRun, Args{"ctl", "set", "a", "u"}));
}

TEST(SetupController, AddressAloneWithOverrideForcesWithThreeArguments) {
  EXPECT_EQ(command(R"({"ctlAddr":"a","ctlOverride":true})"),
            std::make_pair(ControllerCommand::kRun, Args{"ctl", "force", "a"}));
}

TEST(SetupController, OneFieldWithoutOverrideIsInconsistent) {
  EXPECT_EQ(command(R"({"ctlAddr":"a"})"), std::make_pair(ControllerCommand::kInconsistent, Args{}));
  EXPECT_EQ(command(R"({"ctlUuid":"u","ctlOverride":false})"),
            std::make_pair(ControllerCommand::kInconsistent, Args{}));
}

TEST(SetupController, UuidAloneWithOverrideMissesTheAddress) {
  EXPECT_EQ(command(R"({"ctlUuid":"u","ctlOverride":true})"),
            std::make_pair(ControllerCommand::kAddrMissing, Args{}));
}

// Empty strings read like missing fields here.
TEST(SetupController, NeitherRunsNothing) {
  EXPECT_EQ(command("{}"), std::make_pair(ControllerCommand::kNone, Args{}));
  EXPECT_EQ(command(R"({"ctlAddr":"","ctlUuid":""})"), std::make_pair(ControllerCommand::kNone, Args{}));
}

TEST(SetupGetForm, EveryKeyFromItsSource) {
  Variant settings = parse(R"({"wifi":{"ssid":"HomeNet","key":"wpa","wpa":{"auth":"psk",
      "psk":"hidden"}},"statik":{"ip":"10.0.0.9","netmask":"255.0.0.0"},
      "routes":{"gateway":"10.0.0.1"}})");
  Variant status = parse(R"({"mode":"static","dns":"10.0.0.2 10.0.0.3","dnsServer":"x"})");
  EXPECT_EQ(json(setupForm(settings, status, {"ctl.example.com", "u-1", "Porch"})),
            R"({"ctlAddr":"ctl.example.com","ctlUuid":"u-1","deviceName":"Porch",)"
            R"("netDns1":"10.0.0.2","netDns2":"10.0.0.3","netGw":"10.0.0.1",)"
            R"("netIp":"10.0.0.9","netMask":"255.0.0.0","netMode":"static",)"
            R"("wifiAuth":"psk","wifiKey":"wpa","wifiSsid":"HomeNet"})");
}

TEST(SetupGetForm, OneNameServerLeavesTheSecondEmpty) {
  Variant const form = setupForm(Variant(), parse(R"({"dns":"192.168.1.1"})"), {"", "", ""});
  EXPECT_EQ(json(form),
            R"({"ctlAddr":"","ctlUuid":"","deviceName":"","netDns1":"192.168.1.1","netDns2":"",)"
            R"("netGw":"","netIp":"","netMask":"","netMode":"","wifiAuth":"","wifiKey":"",)"
            R"("wifiSsid":""})");
}

}  // namespace
