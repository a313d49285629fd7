// The settings write: validation answers, the messages each body section
// becomes, the configuration tool's arguments, the single-instance lock.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <ostream>
#include <thread>

#include "messages/daemons.h"
#include "orvo/utils/mutex.h"
#include "status_test_support.h"
#include "support/poll.h"

using orvo::variant::Variant;
using statustest::Daemon;
using statustest::json;
using statustest::kUntouched;
using statustest::Handler;
using statustest::Root;
using statustest::CgiResult;
using statustest::Script;

namespace {

// How long the daemons' traffic must stay unchanged to count as complete.
constexpr std::chrono::milliseconds kQuiet{150};
constexpr std::chrono::milliseconds kArrivalLimit{3000};

using namespace orvo::daemons;
constexpr char const* kDaemons[] = {kIspServer, kStreamer, kOsd,       kNvr,     kAnalytics,
                                    kSoundsLeds, kNetworkd, kCtlServer, kAvclient};

// One message as traffic() lists it.
std::string sent(char const* daemon, char const* function) {
  return std::string(daemon) + ":" + function;
}

std::string text(Variant& message, char const* path) {
  Variant* value = message.GetKeyChain(orvo::variant::VT_ANY, path, false);
  return value ? json(*value) : "(absent)";
}

// Holds the "rest_settings_put" lock in another process, as a running PUT would.
class LockHolder {
 public:
  explicit LockHolder(Root const& root) {
    int ready[2];
    if (pipe(ready) != 0) return;
    fflush(stdout);
    pid_ = fork();
    if (pid_ == 0) {
      setenv("ORVO_ROOT", root.path().c_str(), 1);
      InterProcessMutex mutex("rest_settings_put", false);
      char held = mutex.acquire() == 0 ? '1' : '0';
      if (write(ready[1], &held, 1) != 1) _exit(1);
      pause();
      _exit(0);
    }
    char held = '0';
    if (read(ready[0], &held, 1) == 1) held_ = held == '1';
    close(ready[0]);
    close(ready[1]);
  }
  ~LockHolder() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  bool held() const { return held_; }

 private:
  pid_t pid_ = -1;
  bool held_ = false;
};

class SettingsWrite : public ::testing::Test {
 protected:
  void SetUp() override {
    // The tool records its arguments, then writes as the real one does.
    std::string const real = std::string(ORVO_SIM_PROGRAM_DIR) + "/orvo_system_cfg";
    unlink(root_.file("/bin/orvo_system_cfg").c_str());
    root_.write("/bin/orvo_system_cfg",
                "#!/bin/sh\nprintf '%s|' \"$@\" >>\"$ORVO_ROOT/tmp/tool-calls\"\n"
                "echo >>\"$ORVO_ROOT/tmp/tool-calls\"\nexec '" + real + "' \"$@\"\n");
    chmod(root_.file("/bin/orvo_system_cfg").c_str(), 0755);
  }
  void startAll(Script const& script = Script()) {
    for (char const* name : kDaemons) {
      daemons_[name] = std::make_unique<Daemon>(root_, name, script);
    }
  }
  CgiResult put(std::string const& body) {
    return statustest::runHandler(root_, Handler::kSettings, "PUT", "1.2", body);
  }
  // A message that expects no answer may still be on its way in when the
  // request has ended: wait a bounded while for the first one.
  std::vector<Variant> received(char const* daemon) {
    orvo::test::eventually([&] { return !daemons_[daemon]->received().empty(); }, kArrivalLimit);
    return daemons_[daemon]->received();
  }
  // Every daemon's received messages as "daemon:functionName", in daemon
  // order, once no new one has come for a while: a message that expects no
  // answer may still be on its way in when the request has ended.
  std::vector<std::string> traffic() {
    std::vector<std::string> seen = receivedNow();
    orvo::test::eventually(
        [&] {
          std::vector<std::string> const before = seen;
          return orvo::test::holdsFor([&] { return (seen = receivedNow()) == before; }, kQuiet);
        },
        kArrivalLimit);
    return seen;
  }
  std::vector<std::string> receivedNow() {
    std::vector<std::string> seen;
    for (char const* name : kDaemons) {
      for (Variant& message : daemons_[name]->received()) {
        seen.push_back(std::string(name) + ":" +
                       static_cast<std::string const&>(message["functionName"]));
      }
    }
    return seen;
  }
  std::string toolCalls() { return root_.read("/tmp/tool-calls"); }

  Root root_;
  std::map<std::string, std::unique_ptr<Daemon>> daemons_;
};

}  // namespace

TEST_F(SettingsWrite, EmptyBodySendsOnlyTheEmptyNetworkChange) {
  startAll();
  CgiResult run = put("{}");
  EXPECT_EQ(run.status, "200");
  EXPECT_EQ(run.body, "");
  EXPECT_EQ(traffic(), std::vector<std::string>{sent(kNetworkd, "ChangeNetworkSettings")});
  Variant change = received(orvo::daemons::kNetworkd).at(0);
  EXPECT_EQ(text(change, "responseExpected"), "false");
  EXPECT_EQ(text(change, "dhcp/status"), "-1");
  EXPECT_EQ(toolCalls(), "");
}

TEST_F(SettingsWrite, LanguageOnlyRunsTheToolAndSendsNoDeviceMessage) {
  startAll();
  CgiResult run = put(R"({"device":{"language":"fr"}})");
  EXPECT_EQ(run.status, "200");
  EXPECT_EQ(traffic(), std::vector<std::string>{sent(kNetworkd, "ChangeNetworkSettings")});
  EXPECT_EQ(toolCalls(), "flash|device.language|fr|\n");
  EXPECT_NE(root_.read("/etc/orvo/system.cfg").find("device.language=fr\n"), std::string::npos);
}

TEST_F(SettingsWrite, FirstTimeUseCanOnlyBeCleared) {
  startAll();
  EXPECT_EQ(put(R"({"device":{"firstTimeUse":true}})").status, "200");
  EXPECT_EQ(toolCalls(), "");
  EXPECT_EQ(put(R"({"device":{"firstTimeUse":false},"httpd":{"anonSnapshot":7}})").status,
            "200");
  EXPECT_EQ(toolCalls(), "flash|device.firstTimeUse|0|httpd.anonSnapshot|1|\n");
  std::string const stored = root_.read("/etc/orvo/system.cfg");
  EXPECT_NE(stored.find("device.firstTimeUse=0\n"), std::string::npos);
  EXPECT_NE(stored.find("httpd.anonSnapshot=1\n"), std::string::npos);
}

TEST_F(SettingsWrite, EverySectionReachesItsDaemon) {
  startAll();
  CgiResult run = put(R"({
    "isp": {"brightness": 40, "contrast": 500}, "av": {"audio": {"volume": 30}},
    "osd": {"enableOverlay": 1}, "nvr": {"rtspPort": 8554}, "analytics": {"sendEvents": 1},
    "soundled": {"speakerVolume": 20},
    "device": {"name": "Porch", "timezone": "Europe/Paris",
               "auth": {"username": "admin", "passwordOld": "a", "passwordNew": "b"}},
    "controller": {"addr": "ctl.example.com:7443", "token": "t0k"}})");
  EXPECT_EQ(run.status, "200");
  EXPECT_EQ(traffic(), (std::vector<std::string>{
                           sent(kIspServer, "ChangeIspSettings"), sent(kStreamer, "ChangeVideoSettings"),
                           sent(kOsd, "ChangeOsdSettings"), sent(kNvr, "ChangeNvrSettings"),
                           sent(kAnalytics, "ChangeAnalyticsSettings"),
                           sent(kSoundsLeds, "ChangeSoundLedSettings"),
                           sent(kNetworkd, "ChangeNetworkSettings"),
                           sent(kCtlServer, "ChangeDeviceSettings"),
                           sent(kCtlServer, "ChangeUsernamePassword"), sent(kAvclient, "Adopt")}));
  Variant isp = received(orvo::daemons::kIspServer).at(0);
  EXPECT_EQ(text(isp, "brightness"), "40");
  EXPECT_EQ(text(isp, "contrast"), "101");  // out of range: not set
  EXPECT_EQ(text(isp, "saturation"), "101");
  Variant device = received(orvo::daemons::kCtlServer).at(0);
  EXPECT_EQ(text(device, "name"), R"("Porch")");
  EXPECT_EQ(text(device, "timezone"), R"("Europe/Paris")");
  EXPECT_EQ(text(device, "region"), R"("_UNINITIALIZED_")");
  Variant credentials = received(orvo::daemons::kCtlServer).at(1);
  EXPECT_EQ(text(credentials, "passwordNew"), R"("b")");
  Variant adoption = received(orvo::daemons::kAvclient).at(0);
  EXPECT_EQ(text(adoption, "hosts"), R"(["ctl.example.com:7443"])");
  EXPECT_EQ(text(adoption, "protocol"), R"("wss")");
  EXPECT_EQ(text(adoption, "token"), R"("t0k")");
  EXPECT_EQ(toolCalls(), "");
}

TEST_F(SettingsWrite, EmptyControllerAddressSendsNoAdoption) {
  startAll();
  CgiResult run = put(R"({"controller":{"addr":""}})");
  EXPECT_EQ(run.status, "200");
  EXPECT_EQ(traffic(), std::vector<std::string>{sent(kNetworkd, "ChangeNetworkSettings")});
  EXPECT_EQ(statustest::logged(run, "controller addr must be non-empty"),
            std::vector<std::string>{"warning handle_put"});
}

TEST_F(SettingsWrite, OpenWirelessSendsNoWpaFields) {
  startAll();
  ASSERT_EQ(put(R"({"wifi":{"ssid":"Cafe","key":"none","auth":"wpa2","psk":"12345678"}})").status,
            "200");
  Variant change = received(orvo::daemons::kNetworkd).at(0);
  EXPECT_EQ(text(change, "wifi/ssid"), R"("Cafe")");
  EXPECT_EQ(text(change, "wifi/key"), R"("none")");
  EXPECT_EQ(text(change, "wifi/wpa"), R"({"auth":"","psk":""})");
}

TEST_F(SettingsWrite, ProtectedWirelessAndStaticAddressing) {
  startAll();
  ASSERT_EQ(put(R"({"wifi":{"ssid":"Home","key":"psk","auth":"wpa2","psk":"longenough"},
                    "net":{"mode":"static","ip":"10.0.0.5","mask":"255.0.0.0","gw":"10.0.0.1",
                           "dns1":"10.0.0.2","dhcpFallbackIP":"192.168.1.20"}})")
                .status,
            "200");
  Variant change = received(orvo::daemons::kNetworkd).at(0);
  EXPECT_EQ(text(change, "wifi/wpa"), R"({"auth":"wpa2","psk":"longenough"})");
  EXPECT_EQ(text(change, "dhcp"),
            R"({"fallbackIP":"192.168.1.20","fallbackNetmask":"","status":0})");
  EXPECT_EQ(text(change, "statik"), R"({"ip":"10.0.0.5","netmask":"255.0.0.0"})");
  EXPECT_EQ(text(change, "routes/gateway"), R"("10.0.0.1")");
  EXPECT_EQ(text(change, "dns/ns1"), R"({"ip":"10.0.0.2","status":1})");
  EXPECT_EQ(text(change, "dns/ns2"), R"({"ip":"","status":-1})");
}

TEST_F(SettingsWrite, DhcpModeSetsTheStatusOnly) {
  startAll();
  ASSERT_EQ(put(R"({"net":{"mode":"dhcp","ip":"10.0.0.5","mask":"255.0.0.0"}})").status, "200");
  Variant change = received(orvo::daemons::kNetworkd).at(0);
  EXPECT_EQ(text(change, "dhcp/status"), "1");
  EXPECT_EQ(text(change, "statik"), R"({"ip":"","netmask":""})");
}

TEST_F(SettingsWrite, SecondWriterIsRefusedWhileTheFirstHoldsTheLock) {
  startAll();
  LockHolder first(root_);
  ASSERT_TRUE(first.held());
  CgiResult run = put(R"({"device":{"language":"fr"}})");
  EXPECT_EQ(run.status, "429");
  EXPECT_EQ(traffic(), std::vector<std::string>{});
  EXPECT_TRUE(statustest::loggedText(run, "'rest_settings_put' is already running"));
  EXPECT_EQ(toolCalls(), "");
}

TEST_F(SettingsWrite, ToolFailureAnswers500) {
  startAll();
  unlink(root_.file("/bin/orvo_system_cfg").c_str());
  root_.write("/bin/orvo_system_cfg", "#!/bin/sh\nexit 1\n");
  chmod(root_.file("/bin/orvo_system_cfg").c_str(), 0755);
  CgiResult run = put(R"({"device":{"language":"fr"}})");
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.status, "500");
  EXPECT_EQ(statustest::logged(run, "Failed to execute orvo_system_cfg"),
            std::vector<std::string>{"err handle_put"});
}

// Every validation message, each from a body that triggers it alone.
struct Refusal {
  char const* body;
  char const* message;
};

// Test output names the message, not the struct's bytes.
void PrintTo(Refusal const& refusal, std::ostream* out) { *out << refusal.message; }

class SettingsRefusal : public SettingsWrite, public ::testing::WithParamInterface<Refusal> {};

TEST_P(SettingsRefusal, AnswersBadRequestAndChangesNothing) {
  startAll();
  if (std::string(GetParam().message) == "wifi node is missing") {
    Variant info = statustest::defaultCameraInfo();
    info["feature_wifi"] = 0;
    root_.writeCameraInfo(info);
  }
  if (std::string(GetParam().message) == "Failed to initialize camera info manager") {
    unlink(root_.file("/etc/orvo/camera_info.json").c_str());
  }
  CgiResult run = put(GetParam().body);
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.status, "400");
  EXPECT_EQ(traffic(), std::vector<std::string>{});
  EXPECT_EQ(toolCalls(), "");
  std::vector<std::string> checks;
  for (orvo::test::LogRecord const& record : run.log) {
    if (record.function == "is_valid_put_request") checks.push_back(record.text);
  }
  ASSERT_EQ(checks.size(), 1u);
  // The message opens the record's text (one ends in the values it found).
  EXPECT_EQ(checks[0].rfind(GetParam().message, 0), 0u) << checks[0];
  EXPECT_EQ(statustest::logged(run, "Invalid request"), std::vector<std::string>{"err handle_put"});
}

INSTANTIATE_TEST_SUITE_P(
    EveryMessage, SettingsRefusal,
    ::testing::Values(
        Refusal{R"({"device":{"auth":{"username":"admin"}}})", "username or password is missing"},
        Refusal{R"({"device":{"name":"abcdefghijklmnopqrstuvwxyz"}})", "username is too long"},
        Refusal{R"({"device":{"language":"de-DE"}})", "Not supported language"},
        Refusal{R"({})", "Failed to initialize camera info manager"},
        Refusal{R"({"wifi":{"ssid":"n","key":"none"}})", "wifi node is missing"},
        Refusal{R"({"wifi":{"key":"k"}})", "wifi.key set but wifi.ssid is not"},
        Refusal{R"({"wifi":{"auth":"wpa2"}})", "wifi.auth set but wifi.ssid is not"},
        Refusal{R"({"wifi":{"psk":"12345678"}})", "wifi.psk set but wifi.ssid is not"},
        Refusal{R"({"wifi":{"ssid":"n"}})", "wifi.key is missing when ssid is set"},
        Refusal{R"({"wifi":{"ssid":"n","key":"psk","psk":"12345678"}})",
                "wifi.auth and/or wifi.psk is missing"},
        Refusal{R"({"wifi":{"ssid":"n","key":"psk","auth":"wpa2","psk":"1234"}})",
                "wifi.psk is invalid"},
        Refusal{R"({"net":{"ip":"10.0.0.5"}})", "Network mode is missing"},
        Refusal{R"({"net":{"mode":"bridge"}})", "Unknown network mode: bridge"},
        Refusal{R"({"net":{"mode":"static","ip":"10.0.0.5"}})",
                "One (or more) of the following settings are missing: net.ip, net.mask"},
        Refusal{R"({"controller":{"addr":"not a host"}})", "controller/addr is not valid"},
        Refusal{R"({"controller":{"addr":"ctl.example.com","uuid":"u"}})",
                "controller.uuid and controller.override should be set or unset together, and "
                "when all set, addr must not be empty 0x"},
        Refusal{R"({"controller":{"addr":"ctl.example.com","uuid":"u","override":true}})",
                "controller/uuid is not valid"}));
