// Out-of-range, mistyped and differently cased values, per message table.
#include <gtest/gtest.h>

#include "message_test_support.h"
#include "messages/camera.h"
#include "messages/device.h"
#include "messages/network.h"
#include "messages/video.h"

namespace orvo {
namespace ipc {
namespace messages {
namespace testing {
namespace {

namespace v = orvo::variant;

// Normalises a message built from `json` and returns it.
template <class Message>
Message normalised(std::string const& json) {
  Message message(parse(json));
  EXPECT_TRUE(message.NormalizeFields());
  return message;
}

// ---- Picture control ----

TEST(ChangeIspSettingsEdges, ContrastStringBecomesDefault) {
  auto m = normalised<ChangeIspSettings>(R"({"contrast": "50"})");
  EXPECT_EQ(m["contrast"].Type(), v::VT_UINT8);
  EXPECT_EQ(m.contrast(), 101);
}

TEST(ChangeIspSettingsEdges, ContrastAboveRangeClampedInRangeKept) {
  EXPECT_EQ(normalised<ChangeIspSettings>(R"({"contrast": 150})").contrast(), 101);
  EXPECT_EQ(normalised<ChangeIspSettings>(R"({"contrast": 40})").contrast(), 40);
  EXPECT_EQ(normalised<ChangeIspSettings>(R"({"contrast": 0})").contrast(), 0);
}

TEST(ChangeIspSettingsEdges, FractionTruncatedNegativeWrapsThenClamps) {
  EXPECT_EQ(normalised<ChangeIspSettings>(R"({"contrast": 42.9})").contrast(), 42);
  // An unsigned field reads -5 as 251, which the ceiling brings to not set.
  EXPECT_EQ(normalised<ChangeIspSettings>(R"({"contrast": -5})").contrast(), 101);
}

TEST(ChangeIspSettingsEdges, WideUnsignedFieldsClampAtTheirCeiling) {
  auto m = normalised<ChangeIspSettings>(
      R"({"irLedLevel": 300, "touchFocusX": 5000, "icrLightSensorNightThd": 70000,
          "criticalTmpOfProtect": 90, "queryIrLedStatus": 3})");
  EXPECT_EQ(m.irLedLevel(), 256u);
  EXPECT_EQ(m["irLedLevel"].Type(), v::VT_UINT32);
  EXPECT_EQ(m.touchFocusX(), 1001u);
  EXPECT_EQ(m.icrLightSensorNightThd(), 65536u);
  EXPECT_EQ(m.criticalTmpOfProtect(), 51);
  EXPECT_EQ(m.queryIrLedStatus(), 3);
}

TEST(ChangeIspSettingsEdges, ModesCanonicalOrNone) {
  auto m = normalised<ChangeIspSettings>(
      R"({"aeMode": "AUTO", "irLedMode": "Manual", "focusMode": "autox"})");
  EXPECT_EQ(m.aeMode(), "auto");
  EXPECT_EQ(m.irLedMode(), "manual");
  EXPECT_EQ(m.focusMode(), "none");
  EXPECT_EQ(normalised<ChangeIspSettings>(R"({"aeMode": "FLICK60"})").aeMode(), "flick60");
  EXPECT_EQ(normalised<ChangeIspSettings>(R"({"aeMode": "autox"})").aeMode(), "none");
  EXPECT_EQ(normalised<ChangeIspSettings>(R"({"aeMode": 3})").aeMode(), "none");
}

TEST(ChangeIspSettingsEdges, MasksKeptAsGivenOrReplacedWhenScalar) {
  auto kept = normalised<ChangeIspSettings>(R"({"masks": [{"x": 1, "Y": "z"}, 2]})");
  EXPECT_EQ(compact(kept.masks()), R"([{"Y":"z","x":1},2])");
  auto replaced = normalised<ChangeIspSettings>(R"({"masks": "none"})");
  EXPECT_EQ(compact(replaced.masks()), "{}");
}

TEST(ChangeIspSettingsEdges, AccessorsRepairButDoNotClamp) {
  ChangeIspSettings m(parse(R"({"contrast": 150, "aeMode": "AUTO", "hue": "x"})"));
  EXPECT_EQ(m.contrast(), 150);
  EXPECT_EQ(m.aeMode(), "AUTO");
  EXPECT_EQ(m.hue(), 101);
  EXPECT_EQ(compact(m), R"({"aeMode":"AUTO","contrast":150,"hue":101})");
}

// ---- On-screen display ----

TEST(ChangeOsdSettingsEdges, OverlayColourAndFlags) {
  EXPECT_EQ(normalised<ChangeOsdSettings>(R"({"overlayColorId": 9})").overlayColorId(), 3);
  EXPECT_EQ(normalised<ChangeOsdSettings>(R"({"overlayColorId": -7})").overlayColorId(), -1);
  EXPECT_EQ(normalised<ChangeOsdSettings>(R"({"overlayColorId": 2})").overlayColorId(), 2);
  EXPECT_EQ(normalised<ChangeOsdSettings>(R"({"enableOverlay": 5})").enableOverlay(), 1);
  EXPECT_EQ(normalised<ChangeOsdSettings>(R"({"enableOverlay": 0})").enableOverlay(), 0);
  EXPECT_EQ(normalised<ChangeOsdSettings>(R"({"enableOverlay": -3})").enableOverlay(), -1);
  auto m = normalised<ChangeOsdSettings>(R"({"logoScale": 400, "useISO8601": 0})");
  EXPECT_EQ(m.logoScale(), 100);
  EXPECT_TRUE(m.useISO8601());
}

TEST(ChangeOsdSettingsEdges, ChannelsNormalisedAndStoredBack) {
  auto m = normalised<ChangeOsdSettings>(
      R"({"_2": {"tag": "door", "enableDate": 7, "enableReportdStatsLevel": 300,
                 "enableStreamerStatsLevel": -9, "extra": 1}})");
  EXPECT_EQ(compact(m["_2"]),
            R"({"enableDate":1,"enableLogo":-1,"enableReportdStatsLevel":255,)"
            R"("enableStreamerStatsLevel":-1,"extra":1,"tag":"door"})");
  EXPECT_EQ(m._2().tag(), "door");
  EXPECT_EQ(m._1().tag(), "_UNINITIALIZED_");
}

// ---- Recording ----

TEST(ChangeNvrSettingsEdges, PortFlagsAndUnrangedVersion) {
  auto m = normalised<ChangeNvrSettings>(
      R"({"rtspPort": 70000, "rtspEnabled": 2, "cfgver": -12, "recordSoundSensitivity": 101,
          "rtspUsername": 5})");
  EXPECT_EQ(m.rtspPort(), 65535);
  EXPECT_EQ(m.rtspEnabled(), 1);
  EXPECT_EQ(m.cfgver(), -12);
  EXPECT_EQ(m.recordSoundSensitivity(), 100);
  EXPECT_EQ(m.rtspUsername(), "_UNINITIALIZED_");
}

TEST(ChangeNvrSettingsEdges, UnrangedNumbersLeaveInTheirFieldType) {
  auto m = normalised<ChangeNvrSettings>(R"({"cfgver": 3.9})");
  EXPECT_EQ(m["cfgver"].Type(), v::VT_INT32);
  EXPECT_EQ(compact(m["cfgver"]), "3");
}

// ---- Analytics ----

TEST(ChangeAnalyticsSettingsEdges, StopLingerClampsToZeroStartToMinusOne) {
  auto m = normalised<ChangeAnalyticsSettings>(
      R"({"lingerEventStopSec": -5, "lingerEventStartSec": -5,
          "lingerEventStopMSec": -5, "lingerEventStartMSec": -5})");
  EXPECT_EQ(m.lingerEventStopSec(), 0);
  EXPECT_EQ(m.lingerEventStartSec(), -1);
  EXPECT_EQ(m.lingerEventStopMSec(), 0);
  EXPECT_EQ(m.lingerEventStartMSec(), -1);
}

TEST(ChangeAnalyticsSettingsEdges, CeilingsAndUnrangedPulse) {
  auto m = normalised<ChangeAnalyticsSettings>(
      R"({"lingerEventStopSec": 500, "interruptTimeoutMs": 65000, "pulsePeriodSec": -40,
          "consecutiveRatio": 6, "sendEvents": 9, "internals": {"movementScaleRatio": 99}})");
  EXPECT_EQ(m.lingerEventStopSec(), 120);
  EXPECT_EQ(m.interruptTimeoutMs(), 60000);
  EXPECT_EQ(m["interruptTimeoutMs"].Type(), v::VT_UINT16);
  EXPECT_EQ(m.pulsePeriodSec(), -40);
  EXPECT_EQ(m.consecutiveRatio(), 5);
  EXPECT_EQ(m.sendEvents(), 2);
  EXPECT_EQ(m.internals().movementScaleRatio(), 64);
}

TEST(ChangeAnalyticsSettingsEdges, BackgroundModel) {
  EXPECT_EQ(normalised<ChangeAnalyticsSettings>(R"({"bgmodel": "MOG2"})").bgmodel(), "mog2");
  EXPECT_EQ(normalised<ChangeAnalyticsSettings>(R"({"bgmodel": "Orvo3"})").bgmodel(), "orvo3");
  EXPECT_EQ(normalised<ChangeAnalyticsSettings>(R"({"bgmodel": "kalman"})").bgmodel(), "");
}

// ---- Sounds and LEDs ----

TEST(ChangeSoundLedSettingsEdges, ColoursAndLevels) {
  auto m = normalised<ChangeSoundLedSettings>(
      R"({"userLedColorFg": "WHITE_Magenta", "ledAnimColorFg": "purple", "ledAnimColorBg": "Red",
          "userLedBlinkPeriodMs": -30, "ledAnimOnDurationMs": 5000, "speakerEnabled": 3})");
  EXPECT_EQ(m.userLedColorFg(), "white_magenta");
  EXPECT_EQ(m.ledAnimColorFg(), "");
  EXPECT_EQ(m.ledAnimColorBg(), "red");
  EXPECT_EQ(m.userLedBlinkPeriodMs(), -1);
  EXPECT_EQ(m.ledAnimOnDurationMs(), 1000);
  EXPECT_EQ(m.speakerEnabled(), 1);
}

// ---- Video and audio ----

TEST(ChangeVideoSettingsEdges, AudioBitRateBounds) {
  EXPECT_EQ(normalised<ChangeVideoSettings>(R"({"audio": {"bitRate": 5000}})").audio().bitRate(),
            7999u);
  EXPECT_EQ(normalised<ChangeVideoSettings>(R"({"audio": {"bitRate": 200000}})").audio().bitRate(),
            160000u);
  auto m = normalised<ChangeVideoSettings>(R"({"audio": {"volume": 120}})");
  EXPECT_EQ(m.audio().volume(), 100);
  EXPECT_EQ(m["audio"]["volume"].Type(), v::VT_INT8);
}

TEST(ChangeVideoSettingsEdges, StreamBitRatesAndSerializer) {
  auto m = normalised<ChangeVideoSettings>(
      R"({"video": {"video2": {"bitRateVbrMax": 100, "bitRateCbrAvg": 20000000, "fps": 60,
                               "avSerializer": {"type": "RTMP", "destinations": ["a"]}}}})");
  VideoSettingsElement stream = m.video().video2();
  EXPECT_EQ(stream.bitRateVbrMax(), 16383u);
  EXPECT_EQ(stream.bitRateCbrAvg(), 16000000u);
  EXPECT_EQ(stream.fps(), 30);
  EXPECT_EQ(stream.avSerializer().type(), "rtmp");
  EXPECT_EQ(compact(stream.avSerializer().destinations()), R"(["a"])");
  EXPECT_EQ(m.video().video1().avSerializer().type(), "unknown");
}

TEST(ChangeVideoSettingsEdges, HdrModesClampNegatives) {
  auto m = normalised<ChangeVideoSettings>(
      R"({"chip": {"vin1": {"hdrMode": -9}}, "video": {"hdrMode": -2}})");
  EXPECT_EQ(m.chip().vin1().hdrMode(), -1);
  EXPECT_EQ(m.chip().vin0().hdrMode(), -1);
  EXPECT_EQ(m.video().hdrMode(), -1);
}

// ---- Network ----

TEST(ChangeNetworkSettingsEdges, StatikStringBecomesObjectStaticLeftAlone) {
  auto m = normalised<ChangeNetworkSettings>(R"({"statik": "10.0.0.2", "static": "x"})");
  EXPECT_EQ(compact(m["statik"]), R"({"ip":"","netmask":""})");
  EXPECT_EQ(compact(m["static"]), R"("x")");
}

TEST(ChangeNetworkSettingsEdges, GivenValuesPassUnchecked) {
  auto m = normalised<TestAndApplyNetworkSettings>(
      R"({"functionName": "ChangeNetworkSettings",
          "dhcp": {"status": 12345}, "wifi": {"ssid": "home", "wpa": {"psk": "secret"},
          "enableSounds": false}, "dns": {"ns2": {"ip": "not an address"}}})");
  EXPECT_EQ(m.functionName(), "TestAndApplyNetworkSettings");
  EXPECT_EQ(m.dhcp().status(), 12345);
  EXPECT_EQ(m.wifi().ssid(), "home");
  EXPECT_FALSE(m.wifi().enableSounds());
  EXPECT_EQ(m.wifi().wpa().psk(), "secret");
  EXPECT_EQ(m.wifi().experiments().bgscan(), "_UNINITIALIZED_");
  EXPECT_EQ(m.dns().ns2().ip(), "not an address");
  EXPECT_EQ(m.dns().ns1().status(), -1);
}

TEST(ChangeNetworkSettingsEdges, ElementAccessorRepairsWithoutNormalising) {
  ChangeNetworkSettings m(parse(R"({"dns": [1], "wifi": {"ssid": 3}})"));
  EXPECT_EQ(m.routes().gateway(), "");
  EXPECT_EQ(compact(m["routes"]), "{}");
  EXPECT_EQ(compact(m.dns()), "[1]");
  EXPECT_EQ(m.wifi().ssid(), "");
  EXPECT_EQ(compact(m["wifi"]), R"({"ssid":3})");
}

TEST(NetworkElements, Setters) {
  DhcpSettingsElement dhcp(Variant("junk"));
  dhcp.status(1);
  EXPECT_EQ(compact(dhcp), R"({"status":1})");
  NameserverElement ns;
  ns.status(0);
  ns.ip("192.168.1.1");
  EXPECT_EQ(compact(ns), R"({"ip":"192.168.1.1","status":0})");
}

TEST(NetworkStatusEdges, AccessorInsertsMissingString) {
  NetworkStatus status(parse(R"({"ipAddress": "10.1.1.1", "gateway": 7})"));
  EXPECT_EQ(status.ipAddress(), "10.1.1.1");
  EXPECT_EQ(status.mode(), "");
  EXPECT_EQ(status.gateway(), "");
  EXPECT_EQ(compact(status), R"({"gateway":"","ipAddress":"10.1.1.1","mode":""})");
}

TEST(NetworkStatusEdges, NormalisedCountersAreUnsigned32) {
  auto m = normalised<NetworkStatus>(R"({"linkSpeedMbps": 100, "frequency": 2437.5})");
  EXPECT_EQ(m["linkSpeedMbps"].Type(), v::VT_UINT32);
  EXPECT_EQ(compact(m["frequency"]), "2437");
  EXPECT_EQ(m["frequency"].Type(), v::VT_UINT32);
}

// ---- Device, service, management ----

TEST(DeviceMessagesEdges, StopServiceNameRewrittenResponseKept) {
  auto m = normalised<StopService>(
      R"({"functionName": "StartService", "responseExpected": true, "service": "lighttpd"})");
  EXPECT_EQ(m.functionName(), "StopService");
  EXPECT_TRUE(m.responseExpected());
  EXPECT_EQ(m.service(), "lighttpd");
  EXPECT_EQ(normalised<StopService>(R"({"functionName": 12})").functionName(), "StopService");
  EXPECT_FALSE(normalised<StopService>(R"({"responseExpected": "yes"})").responseExpected());
}

TEST(DeviceMessagesEdges, TimelapseIsAnOnOffValue) {
  EXPECT_EQ(normalised<ChangeDeviceSettings>(R"({"timelapseminutes": 15})").timelapseminutes(), 1);
  EXPECT_EQ(normalised<ChangeDeviceSettings>(R"({"timelapseminutes": -15})").timelapseminutes(),
            -1);
  EXPECT_EQ(normalised<ChangeDeviceSettings>(R"({"timelapseminutes": 0})").timelapseminutes(), 0);
}

TEST(DeviceMessagesEdges, MissingPasswordAndProtocolGetDefaults) {
  auto credentials = normalised<ChangeUsernamePassword>(R"({"username": "ui", "passwordNew": "n"})");
  EXPECT_EQ(credentials.passwordOld(), "_UNINITIALIZED_");
  EXPECT_EQ(credentials.username(), "ui");
  auto adopt = normalised<Adopt>(R"({"hosts": ["wss://a", "wss://b"], "token": "t"})");
  EXPECT_EQ(adopt.protocol(), "wss");
  EXPECT_EQ(compact(adopt.hosts()), R"(["wss://a","wss://b"])");
  EXPECT_FALSE(adopt.responseExpected());
}

TEST(AnyMessage, UnknownMembersSurvive) {
  auto m = normalised<ChangeIspSettings>(
      R"({"vendorExtra": {"deep": [1, 2, {"x": null}]}, "Contrast": "as given"})");
  EXPECT_EQ(compact(m["vendorExtra"]), R"({"deep":[1,2,{"x":null}]})");
  EXPECT_EQ(compact(m["Contrast"]), R"("as given")");
  EXPECT_EQ(m.contrast(), 101);
}

}  // namespace
}  // namespace testing
}  // namespace messages
}  // namespace ipc
}  // namespace orvo
