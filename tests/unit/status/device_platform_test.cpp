// The device platform pieces: configuration format and manager, /proc
// parsers, the camera description's accessors, the temperature conversion,
// the PSK and URI checks, and the tool runner.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "orvo/utils/exec.h"
#include "orvo/utils/stats.h"
#include "orvo/utils/system_cfg.h"
#include "orvo/utils/temperature.h"
#include "orvo/utils/validate.h"
#include "orvo/variant/camera_info.h"
#include "orvo/variant/uri.h"
#include "status_test_support.h"
#include "support/process.h"

using orvo::variant::Variant;
namespace utils = orvo::utils;

namespace {

// Runs `code` in a child inside `root` (device paths are mapped there) and
// returns its exit status: the parent never maps a device path itself.
int inChild(statustest::Root const& root, std::function<int()> const& code) {
  return orvo::test::runInChild(root.path(), code);
}

}  // namespace

TEST(SystemCfgFormat, ParsesEntriesCommentsAndCarriageReturns) {
  utils::SystemCfgEntries entries;
  ASSERT_TRUE(utils::parseSystemCfg("# comment\n\ndevice.language=fr\r\nvestovideo.server=\n"
                                    "x.y=a=b\n",
                                    entries));
  EXPECT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries["device.language"], "fr");
  EXPECT_EQ(entries["vestovideo.server"], "");
  EXPECT_EQ(entries["x.y"], "a=b");
}

TEST(SystemCfgFormat, RefusesBrokenLinesAndLimits) {
  utils::SystemCfgEntries entries;
  EXPECT_FALSE(utils::parseSystemCfg("no equals sign\n", entries));
  EXPECT_FALSE(utils::parseSystemCfg("=value\n", entries));
  EXPECT_FALSE(utils::parseSystemCfg("bad key=1\n", entries));
  EXPECT_FALSE(utils::parseSystemCfg("k=tab\there\n", entries));
  EXPECT_FALSE(utils::parseSystemCfg(std::string(utils::kMaxSystemCfgBytes + 1, '#'), entries));
  EXPECT_FALSE(utils::parseSystemCfg(
      "k=" + std::string(utils::kMaxSystemCfgValueBytes + 1, 'v') + "\n", entries));
  EXPECT_TRUE(entries.empty());
}

TEST(SystemCfgFormat, FormatReadsBack) {
  utils::SystemCfgEntries entries{{"b.key", "two words"}, {"a.key", "$(x);|&"}};
  utils::SystemCfgEntries back;
  ASSERT_TRUE(utils::parseSystemCfg(utils::formatSystemCfg(entries), back));
  EXPECT_EQ(back, entries);
}

TEST(SystemCfgManager, TypedGetsAndTheNotSetFlag) {
  statustest::Root root;
  root.write("/etc/orvo/system.cfg", "n=42\nneg=-3\nword=abc\nt=true\n");
  EXPECT_EQ(inChild(root, [] {
              SystemCfgManager config;
              int number = 0;
              bool notSet = true;
              std::string text = "kept";
              bool flag = false;
              Variant value;
              if (!config.init()) return 1;
              if (!config.get("n", &number, &notSet) || notSet || number != 42) return 2;
              if (!config.get("missing", &number, &notSet) || !notSet || number != 42) return 3;
              if (config.get("word", &number, &notSet)) return 4;
              if (!config.get("missing", &text, &notSet) || !notSet || text != "kept") return 5;
              if (!config.get("t", &flag, &notSet) || !flag) return 6;
              if (!config.getVariant("neg", &value, &notSet) || static_cast<int>(value) != -3) {
                return 7;
              }
              if (!config.getVariant("word", &value, &notSet) || value != "abc") return 8;
              return 0;
            }),
            0);
}

TEST(SystemCfgManager, MissingFileFailsInit) {
  statustest::Root root;
  unlink(root.file("/etc/orvo/system.cfg").c_str());
  EXPECT_EQ(inChild(root, [] {
              SystemCfgManager config;
              int value = 0;
              bool notSet = false;
              return config.init() ? 1 : config.get("n", &value, &notSet) ? 2 : 0;
            }),
            0);
}

TEST(StatsParsers, ReadTheKernelFormats) {
  uint32_t cpu = 0;
  ASSERT_TRUE(utils::parseCpuLoad("cpu  300 0 100 500 100 0 0 0 0 0\n", &cpu));
  EXPECT_EQ(cpu, 40u);
  float load = 0;
  ASSERT_TRUE(utils::parseLoadAverage("1.25 0.40 0.33 1/97 4242\n", &load));
  EXPECT_FLOAT_EQ(load, 1.25f);
  uint64_t uptime = 0;
  ASSERT_TRUE(utils::parseUptime("98765.43 1.00\n", &uptime));
  EXPECT_EQ(uptime, 98765u);
  EXPECT_FALSE(utils::parseCpuLoad("intr 1 2 3\n", &cpu));
  EXPECT_FALSE(utils::parseLoadAverage("x\n", &load));
  EXPECT_FALSE(utils::parseUptime("-5\n", &uptime));
}

TEST(StatsParsers, NetDevTableSkipsHeadingsAndOverlongNames) {
  utils::SystemStats stats{};
  ASSERT_TRUE(utils::parseNetDev(
      "Inter-| Receive | Transmit\n face |bytes packets|bytes packets\n"
      "  eth0: 10 1 0 0 0 0 0 0 20 2 0 0 0 0 0 0\n"
      "averyveryverylongname0: 1 1 0 0 0 0 0 0 2 2 0 0 0 0 0 0\n"
      "wlan0:30 3 0 0 0 0 0 0 40 4 0 0 0 0 0 0\n",
      &stats));
  ASSERT_EQ(stats.interfaceCount, 2u);
  EXPECT_STREQ(stats.interfaces[0].name, "eth0");
  EXPECT_EQ(stats.interfaces[0].bytesRx, 10u);
  EXPECT_EQ(stats.interfaces[0].bytesTx, 20u);
  EXPECT_STREQ(stats.interfaces[1].name, "wlan0");
  EXPECT_EQ(stats.interfaces[1].bytesTx, 40u);
  EXPECT_FALSE(utils::parseNetDev("Inter-| x\n", &stats));
}

TEST(Stats, RealProcIsReadOutsideARootWithoutProc) {
  statustest::Root root;
  EXPECT_EQ(inChild(root, [] {
              void* handle = nullptr;
              utils::SystemStats stats;
              if (utils::InitializeStatsLib(&handle) != 0) return 1;
              int result = utils::GetSystemStats(handle, &stats);
              utils::CloseStatsLib(&handle);
              return result == 0 && stats.uptime > 0 && stats.interfaceCount > 0 && !handle ? 0
                                                                                          : 2;
            }),
            0);
}

TEST(Temperature, SensorByteLessOffset) {
  EXPECT_EQ(utils::temperatureFromSensorByte(0x1E), -34);
  EXPECT_EQ(utils::temperatureFromSensorByte(0xFF), 191);
  EXPECT_EQ(utils::temperatureFromSensorByte(0x40), 0);
}

TEST(Temperature, NoVideoChipMeansNoSensor) {
  statustest::Root root;
  EXPECT_EQ(inChild(root, [] {
              int celsius = 99;
              return utils::readTemperature(&celsius) == utils::TemperatureRead::kNoSensor &&
                             celsius == 99
                         ? 0
                         : 1;
            }),
            0);
  root.write("/dev/iav", "a regular file answers no ioctl");
  EXPECT_EQ(inChild(root, [] {
              int celsius = 0;
              return utils::readTemperature(&celsius) == utils::TemperatureRead::kNoSensor ? 0 : 1;
            }),
            0);
}

TEST(CameraInfo, DefaultingAccessorsWriteTheirDefault) {
  orvo::variant::CameraInfo info;
  static_cast<Variant&>(info) = statustest::parse(R"({"version":"1.0","reboot":"soon"})");
  EXPECT_EQ(info.version(), "1.0");
  EXPECT_EQ(info.reboot(), 0u);
  EXPECT_EQ(info.semVer(), "");
  EXPECT_EQ(info.isStandalone(), 0);
  std::string text;
  info.ToJSON(text, false);
  EXPECT_EQ(text, R"({"isStandalone":0,"reboot":0,"semVer":"","version":"1.0"})");
}

TEST(CameraInfo, DefaultingAccessorTurnsANonObjectIntoOne) {
  orvo::variant::CameraInfo info;
  static_cast<Variant&>(info) = statustest::parse("[1,2]");
  EXPECT_EQ(info.cameraName(), "");
  EXPECT_EQ(info.Type(), orvo::variant::VT_OBJECT);
}

TEST(CameraInfo, StrictAccessorReadsFlagsAndEndsOnMissingOnes) {
  orvo::variant::CameraInfo info;
  static_cast<Variant&>(info) = statustest::parse(R"({"feature_wifi":true,"feature_mic":3})");
  EXPECT_EQ(info.feature_wifi(), 1);
  EXPECT_EQ(info.feature_mic(), 3);
  EXPECT_DEATH(info.feature_rtc(), "");
  orvo::variant::CameraInfo notObject;
  EXPECT_DEATH(notObject.name(), "");
}

TEST(Psk, PassphraseOrRawKey) {
  EXPECT_TRUE(utils::psk_valid("12345678", true));
  EXPECT_TRUE(utils::psk_valid(std::string(63, 'p'), true));
  EXPECT_TRUE(utils::psk_valid(std::string(64, 'a'), true));
  EXPECT_FALSE(utils::psk_valid("1234567", true));
  EXPECT_FALSE(utils::psk_valid(std::string(64, 'g'), true));
  EXPECT_FALSE(utils::psk_valid(std::string(65, 'p'), true));
  EXPECT_FALSE(utils::psk_valid("caf\xc3\xa9 au lait", true));
  EXPECT_TRUE(utils::psk_valid("caf\xc3\xa9 au lait", false));
  EXPECT_FALSE(utils::psk_valid("tab\tinside", false));
}

TEST(Uri, AbsoluteWithHost) {
  orvo::variant::URI uri;
  ASSERT_TRUE(orvo::variant::URI::FromString("wss://ctl.example.com:7443/ws%20x?q=1", true, uri));
  EXPECT_EQ(uri.scheme, "wss");
  EXPECT_EQ(uri.host, "ctl.example.com");
  EXPECT_EQ(uri.port, "7443");
  EXPECT_EQ(uri.path, "/ws x");
  EXPECT_EQ(uri.query, "q=1");
  ASSERT_TRUE(orvo::variant::URI::FromString("wss://[fe80::1]:80", false, uri));
  EXPECT_EQ(uri.host, "fe80::1");
  EXPECT_FALSE(orvo::variant::URI::FromString("wss://", false, uri));
  EXPECT_FALSE(orvo::variant::URI::FromString("wss://bad host", false, uri));
  EXPECT_FALSE(orvo::variant::URI::FromString("wss://a/%zz", false, uri));
  EXPECT_FALSE(orvo::variant::URI::FromString("no scheme", false, uri));
  EXPECT_TRUE(uri.host.empty());
}

TEST(SysExecSimple, ArgumentsReachTheProgramUnchanged) {
  statustest::Root root;
  root.write("/bin/record", "#!/bin/sh\nfor a in \"$@\"; do printf '%s\\n' \"$a\"; done "
                            ">\"$ORVO_ROOT/tmp/args\"\nexit 3\n");
  chmod(root.file("/bin/record").c_str(), 0755);
  EXPECT_EQ(inChild(root, [] {
              int status = utils::sysExecSimple("/bin/record", {"a b", "$(touch x)", "'\";|&"});
              return WIFEXITED(status) ? WEXITSTATUS(status) : 100;
            }),
            3);
  EXPECT_EQ(root.read("/tmp/args"), "a b\n$(touch x)\n'\";|&\n");
  int const absent = inChild(root, [] {
    int status = utils::sysExecSimple("/bin/absent", {});
    return status == -1 ? 0 : (WIFEXITED(status) ? WEXITSTATUS(status) : 100);
  });
#ifdef ORVO_TESTS_EMULATED
  // qemu runs posix_spawn's child as a plain fork: the failed exec shows as
  // the child's exit 127 rather than as the call's error.
  EXPECT_EQ(absent, 127);
#else
  EXPECT_EQ(absent, 0);
#endif
}
