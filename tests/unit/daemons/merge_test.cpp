// Merge rules of every change message: a field holding its class's not-set
// marker never overwrites a setting, a value does. Pure: no files, no bus.
#include <gtest/gtest.h>

#include <string>

#include "daemon_names.h"
#include "daemon_test_support.h"
#include "default_state.h"
#include "message_shapes.h"
#include "settings_merge.h"

namespace {

using daemontest::parse;
using orvo::variant::Variant;
namespace sim = orvo::sim;

// The daemon's default `section` after `body` was merged in as a
// `functionName` request, normalised as the daemon would.
Variant mergedInto(char const* daemon, char const* section, char const* functionName,
                   char const* body) {
  Variant settings = sim::defaultState(daemon)[section];
  Variant fields;
  EXPECT_TRUE(sim::normalizedFields(functionName, parse(body), fields));
  sim::mergeSettings(settings, fields, sim::notSetMarkers(functionName));
  return settings;
}

Variant defaults(char const* daemon, char const* section) {
  return sim::defaultState(daemon)[section];
}

TEST(NotSetMarkers, ComeFromTheFieldTables) {
  Variant isp = sim::notSetMarkers("ChangeIspSettings");
  EXPECT_EQ(static_cast<int>(isp["contrast"]), 101);
  EXPECT_EQ(static_cast<int>(isp["mirror"]), 2);
  EXPECT_TRUE(isp["aeMode"] == "none");
  Variant osd = sim::notSetMarkers("ChangeOsdSettings");
  EXPECT_TRUE(osd["_1"]["tag"] == "_UNINITIALIZED_");
  EXPECT_EQ(static_cast<int>(osd["logoScale"]), -1);
  EXPECT_TRUE(sim::notSetMarkers("ChangeSoundLedSettings")["userLedColorFg"] == "");
  EXPECT_FALSE(isp.GetKeyChain(orvo::variant::VT_ANY, "functionName", false));
  EXPECT_EQ(sim::notSetMarkers("NoSuchMessage").KeysCount(), 0u);
}

// Every default state holds every field of its message, none at its marker
// where a real value exists, so an empty request reads complete settings.
TEST(DefaultState, HasEveryFieldOfItsMessage) {
  struct Shape {
    char const* daemon;
    char const* section;
    char const* functionName;
  };
  Shape const shapes[] = {
      {orvo::daemons::kIspServer, "settings", "ChangeIspSettings"},
      {orvo::daemons::kStreamer, "settings", "ChangeVideoSettings"},
      {orvo::daemons::kOsd, "settings", "ChangeOsdSettings"},
      {orvo::daemons::kNvr, "settings", "ChangeNvrSettings"},
      {orvo::daemons::kAnalytics, "settings", "ChangeAnalyticsSettings"},
      {orvo::daemons::kSoundsLeds, "settings", "ChangeSoundLedSettings"},
      {orvo::daemons::kNetworkd, "settings", "ChangeNetworkSettings"},
      {orvo::daemons::kCtlServer, "device", "ChangeDeviceSettings"},
  };
  for (Shape const& shape : shapes) {
    Variant const settings = defaults(shape.daemon, shape.section);
    Variant const markers = sim::notSetMarkers(shape.functionName);
    ASSERT_GT(markers.KeysCount(), 0u) << shape.functionName;
    for (auto it = markers.str_begin(); it != markers.str_end(); ++it) {
      EXPECT_TRUE(settings.GetKeyChain(orvo::variant::VT_ANY, it->first, false))
          << shape.daemon << " lacks " << it->first;
    }
    // The stored defaults already have the message's shape: normalising
    // them changes nothing a merge would see.
    Variant normalized;
    ASSERT_TRUE(sim::normalizedFields(shape.functionName, settings, normalized));
    Variant copy = settings;
    EXPECT_FALSE(sim::mergeSettings(copy, normalized, markers)) << shape.daemon;
  }
}

TEST(MergeSettings, EmptyRequestChangesNothing) {
  Variant settings = defaults(orvo::daemons::kIspServer, "settings");
  Variant fields;
  ASSERT_TRUE(sim::normalizedFields("ChangeIspSettings", parse("{}"), fields));
  EXPECT_FALSE(sim::mergeSettings(settings, fields, sim::notSetMarkers("ChangeIspSettings")));
  EXPECT_TRUE(settings == defaults(orvo::daemons::kIspServer, "settings"));
}

TEST(MergeSettings, IspValuesOverwriteMarkersDoNot) {
  Variant isp = mergedInto(orvo::daemons::kIspServer, "settings", "ChangeIspSettings",
                           R"({"brightness": 70, "contrast": 101, "hue": 150, "wdr": 4,
                               "aeMode": "none", "irLedMode": "MANUAL", "mirror": 1})");
  EXPECT_EQ(static_cast<int>(isp["brightness"]), 70);
  EXPECT_EQ(static_cast<int>(isp["contrast"]), 50);  // marker
  EXPECT_EQ(static_cast<int>(isp["hue"]), 50);       // clamped onto the marker
  EXPECT_EQ(static_cast<int>(isp["wdr"]), 1);
  EXPECT_TRUE(isp["aeMode"] == "auto");
  EXPECT_TRUE(isp["irLedMode"] == "manual");
  EXPECT_EQ(static_cast<int>(isp["mirror"]), 1);
  EXPECT_EQ(static_cast<int>(isp["saturation"]), 50);
}

TEST(MergeSettings, VideoMergesNestedStreams) {
  Variant av = mergedInto(orvo::daemons::kStreamer, "settings", "ChangeVideoSettings",
                          R"({"video": {"video2": {"fps": 15, "avSerializer": {"type": "RTMP"}}},
                              "audio": {"bitRate": 64000}})");
  Variant before = defaults(orvo::daemons::kStreamer, "settings");
  EXPECT_EQ(static_cast<int>(av["video"]["video2"]["fps"]), 15);
  EXPECT_TRUE(av["video"]["video2"]["avSerializer"]["type"] == "rtmp");
  // Unnamed parameters arrive as the empty marker and keep the stored ones.
  EXPECT_TRUE(av["video"]["video2"]["avSerializer"]["parameters"] ==
              before["video"]["video2"]["avSerializer"]["parameters"]);
  EXPECT_TRUE(av["video"]["video2"]["bitRateVbrMax"] == before["video"]["video2"]["bitRateVbrMax"]);
  EXPECT_TRUE(av["video"]["video1"] == before["video"]["video1"]);
  EXPECT_EQ(static_cast<int>(av["audio"]["bitRate"]), 64000);
  EXPECT_EQ(static_cast<int>(av["audio"]["volume"]), 80);
  EXPECT_EQ(static_cast<int>(av["chip"]["vin0"]["hdrMode"]), 0);
}

TEST(MergeSettings, OsdChannelsAndScalars) {
  Variant osd = mergedInto(orvo::daemons::kOsd, "settings", "ChangeOsdSettings",
                           R"({"_2": {"tag": "Gate", "enableDate": -1}, "enableOverlay": 0,
                               "overlayColorId": 9})");
  EXPECT_TRUE(osd["_2"]["tag"] == "Gate");
  EXPECT_EQ(static_cast<int>(osd["_2"]["enableDate"]), 1);
  EXPECT_TRUE(osd["_1"]["tag"] == "Camera");
  EXPECT_EQ(static_cast<int>(osd["enableOverlay"]), 0);
  EXPECT_EQ(static_cast<int>(osd["overlayColorId"]), 3);  // clamped, a real value
  EXPECT_EQ(static_cast<int>(osd["logoScale"]), 50);
}

TEST(MergeSettings, NvrStringsKeepTheirValueAgainstTheMarker) {
  Variant nvr = mergedInto(orvo::daemons::kNvr, "settings", "ChangeNvrSettings",
                           R"({"rtspEnabled": 1, "rtspUsername": "_UNINITIALIZED_",
                               "ntpClientHost": "time.example.org"})");
  EXPECT_EQ(static_cast<int>(nvr["rtspEnabled"]), 1);
  EXPECT_TRUE(nvr["rtspUsername"] == "admin");
  EXPECT_TRUE(nvr["ntpClientHost"] == "time.example.org");
  EXPECT_EQ(static_cast<int>(nvr["rtspPort"]), 554);
}

TEST(MergeSettings, AnalyticsKeptMembersReplacedOnlyWhenGiven) {
  Variant kept = mergedInto(orvo::daemons::kAnalytics, "settings", "ChangeAnalyticsSettings",
                            R"({"bgmodel": "MOG2", "zones": []})");
  EXPECT_TRUE(kept["bgmodel"] == "mog2");
  EXPECT_TRUE(kept["zones"] == defaults(orvo::daemons::kAnalytics, "settings")["zones"]);
  Variant replaced = mergedInto(orvo::daemons::kAnalytics, "settings", "ChangeAnalyticsSettings",
                                R"({"zones": [{"name": "Drive"}], "internals": {}})");
  EXPECT_EQ(replaced["zones"].KeysCount(), 1u);
  EXPECT_TRUE(replaced["zones"][0]["name"] == "Drive");
  EXPECT_EQ(static_cast<int>(replaced["internals"]["movementScaleRatio"]), 4);
}

TEST(MergeSettings, SoundLedColoursEmptyIsNotSet) {
  Variant leds = mergedInto(orvo::daemons::kSoundsLeds, "settings", "ChangeSoundLedSettings",
                            R"({"userLedColorFg": "", "ledAnimColorFg": "RED",
                                "ledAnimColorBg": "plaid", "speakerVolume": 0})");
  EXPECT_TRUE(leds["userLedColorFg"] == "blue");
  EXPECT_TRUE(leds["ledAnimColorFg"] == "red");
  EXPECT_TRUE(leds["ledAnimColorBg"] == "black");  // unknown colour reads as not set
  EXPECT_EQ(static_cast<int>(leds["speakerVolume"]), 0);
}

TEST(MergeSettings, DeviceSettings) {
  Variant device = mergedInto(orvo::daemons::kCtlServer, "device", "ChangeDeviceSettings",
                              R"({"name": "Gate cam", "timezone": "_UNINITIALIZED_",
                                  "timelapseminutes": 15})");
  EXPECT_TRUE(device["name"] == "Gate cam");
  EXPECT_TRUE(device["timezone"] == "UTC");
  EXPECT_EQ(static_cast<int>(device["timelapseminutes"]), 1);
}

TEST(MergeSettings, NetworkStaticAddressing) {
  Variant net = mergedInto(orvo::daemons::kNetworkd, "settings", "ChangeNetworkSettings",
                           R"({"dhcp": {"status": 0}, "statik": {"ip": "10.0.0.5",
                               "netmask": "255.0.0.0"}, "dns": {"ns1": {"status": 1,
                               "ip": "10.0.0.1"}}})");
  EXPECT_EQ(static_cast<int>(net["dhcp"]["status"]), 0);
  EXPECT_TRUE(net["dhcp"]["fallbackIP"] == "192.168.1.20");
  EXPECT_TRUE(net["statik"]["ip"] == "10.0.0.5");
  EXPECT_TRUE(net["dns"]["ns1"]["ip"] == "10.0.0.1");
  EXPECT_EQ(static_cast<int>(net["dns"]["ns2"]["status"]), 0);
  EXPECT_TRUE(net["wifi"]["experiments"]["bgscan"] == "simple:30:-70:600");
}

TEST(MergeSettings, IgnoresHeaderAndUnknownMembers) {
  Variant settings = parse(R"({"a": 1})");
  Variant const markers = parse(R"({"a": -1})");
  EXPECT_FALSE(sim::mergeSettings(settings, parse(R"({"id": 5, "b": 2, "": 3, "a/x": 4})"),
                                  markers));
  EXPECT_TRUE(settings == parse(R"({"a": 1})"));
  EXPECT_TRUE(sim::mergeSettings(settings, parse(R"({"a": 7})"), markers));
  EXPECT_EQ(static_cast<int>(settings["a"]), 7);
}

}  // namespace
