// The body check of a settings PUT, rule by rule, without a camera process.
#include <gtest/gtest.h>

#include "endpoints/settings.h"
#include "status_test_support.h"

using orvo::variant::Variant;
using namespace orvo::rest::settings;

namespace {

SettingsCheckCamera camera(bool wifi = true, bool loads = true) {
  return {[loads] { return loads; }, [wifi] { return wifi; }};
}

std::string problem(char const* body, SettingsCheckCamera const& facts = camera()) {
  Variant parsed = statustest::parse(body);
  return settingsBodyProblem(parsed, facts);
}

}  // namespace

TEST(SettingsCheck, CredentialsAllOrNothing) {
  EXPECT_EQ(problem(R"({"device":{"auth":{"username":"a"}}})"), "username or password is missing");
  EXPECT_EQ(problem(R"({"device":{"auth":{"username":"a","passwordNew":"b"}}})"),
            "username or password is missing");
  EXPECT_EQ(problem(R"({"device":{"auth":{"username":"a","passwordNew":"b","passwordOld":"c"}}})"),
            "");
  // Present only as strings: a number counts as absent.
  EXPECT_EQ(problem(R"({"device":{"auth":{"username":"a","passwordNew":1,"passwordOld":2}}})"),
            "username or password is missing");
}

TEST(SettingsCheck, DeviceNameLimit) {
  std::string const limit(kMaxDeviceNameBytes, 'n');
  EXPECT_EQ(problem((R"({"device":{"name":")" + limit + R"("}})").c_str()), "");
  EXPECT_EQ(problem((R"({"device":{"name":")" + limit + R"(n"}})").c_str()),
            "username is too long");
}

TEST(SettingsCheck, Languages) {
  for (char const* language : {"en-US", "fr", "es-ES", "es-MX", "pt-BR", "ru", "fa", "zh-CN",
                               "zh-Hant-TW"}) {
    EXPECT_EQ(problem((std::string(R"({"device":{"language":")") + language + "\"}}").c_str()),
              "")
        << language;
  }
  EXPECT_EQ(problem(R"({"device":{"language":"de-DE"}})"), "Not supported language");
  EXPECT_EQ(problem(R"({"device":{"language":"en-us"}})"), "Not supported language");
}

TEST(SettingsCheck, DescriptionMustLoad) {
  EXPECT_EQ(problem("{}", camera(true, false)), "Failed to initialize camera info manager");
}

TEST(SettingsCheck, WirelessRules) {
  EXPECT_EQ(problem(R"({"wifi":{}})", camera(false)), "wifi node is missing");
  EXPECT_EQ(problem(R"({"wifi":{}})"), "");
  EXPECT_EQ(problem(R"({"wifi":{"ssid":"n","key":"none"}})"), "");
  EXPECT_EQ(problem(R"({"wifi":{"key":"x"}})"), "wifi.key set but wifi.ssid is not");
  EXPECT_EQ(problem(R"({"wifi":{"auth":"x","psk":"12345678"}})"),
            "wifi.auth set but wifi.ssid is not");
  EXPECT_EQ(problem(R"({"wifi":{"psk":"12345678"}})"), "wifi.psk set but wifi.ssid is not");
  EXPECT_EQ(problem(R"({"wifi":{"ssid":"n"}})"), "wifi.key is missing when ssid is set");
  EXPECT_EQ(problem(R"({"wifi":{"ssid":"n","key":"psk","auth":"wpa2"}})"),
            "wifi.auth and/or wifi.psk is missing");
  EXPECT_EQ(problem(R"({"wifi":{"ssid":"n","key":"psk","auth":"wpa2","psk":"short"}})"),
            "wifi.psk is invalid");
  EXPECT_EQ(problem(R"({"wifi":{"ssid":"n","key":"psk","auth":"wpa2","psk":"longenough"}})"), "");
}

TEST(SettingsCheck, NetworkRules) {
  EXPECT_EQ(problem(R"({"net":{}})"), "Network mode is missing");
  EXPECT_EQ(problem(R"({"net":{"mode":"bridge"}})"), "Unknown network mode: bridge");
  EXPECT_EQ(problem(R"({"net":{"mode":"DHCP"}})"), "Unknown network mode: DHCP");
  EXPECT_EQ(problem(R"({"net":{"mode":"dhcp"}})"), "");
  EXPECT_EQ(problem(R"({"net":{"mode":"static","ip":"10.0.0.2"}})"),
            "One (or more) of the following settings are missing: net.ip, net.mask");
  EXPECT_EQ(problem(R"({"net":{"mode":"static","ip":"10.0.0.2","mask":"255.0.0.0"}})"), "");
}

TEST(SettingsCheck, ControllerRules) {
  EXPECT_EQ(problem(R"({"controller":{"addr":""}})"), "");
  EXPECT_EQ(problem(R"({"controller":{"addr":"ctl.example.com:7443/ws"}})"), "");
  EXPECT_EQ(problem(R"({"controller":{"addr":"bad host"}})"), "controller/addr is not valid");
  std::string const together = problem(R"({"controller":{"uuid":"x"}})");
  EXPECT_EQ(together.rfind("controller.uuid and controller.override should be set or unset "
                           "together, and when all set, addr must not be empty 0x",
                           0),
            0u)
      << together;
  EXPECT_EQ(together.substr(together.size() - 6), " (nil)");
  EXPECT_EQ(problem(R"({"controller":{"uuid":"x","override":true}})"),
            "controller/uuid is not valid");
  EXPECT_EQ(problem(R"({"controller":{"uuid":"","override":1}})"), "");
  EXPECT_EQ(
      problem(R"({"controller":{"uuid":"0f8e54c2-1d3a-4b6e-9c7d-2a1b3c4d5e6f","override":0}})"),
      "");
}

TEST(SettingsCheck, FirstProblemWins) {
  EXPECT_EQ(problem(R"({"device":{"language":"xx","auth":{"username":"a"}},"net":{}})"),
            "username or password is missing");
}
