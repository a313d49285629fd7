// The daemons as real processes on the bus, started and controlled through
// ./camsim: the settings-read batch, answer delays, silence, stop and start.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <memory>
#include <string>
#include <vector>

#include "messages/daemons.h"
#include "daemon_names.h"
#include "daemon_test_support.h"
#include "messages/registry.h"
#include "orvo/ipc/blocking_ipc_handler.h"

namespace {

using daemontest::nowMs;
using orvo::ipc::BlockingIpcHandler;
using orvo::ipc::messages::BaseRequestMessage;
using orvo::variant::Variant;
namespace sim = orvo::sim;

constexpr unsigned kBatchLimitMs = 5000;
// A stopped daemon is not waited for longer than this.
constexpr unsigned kStoppedLimitMs = 300;
// How much sooner than asked an answer may come (timer granularity).
constexpr int64_t kLatencyToleranceMs = 30;
// How much later than asked an answer may come: a sanitizer build with other
// tests beside it on two cores is late by tens of milliseconds at times.
// Still less than the 300 ms asked, so a delay applied twice or not
// cleared fails.
constexpr int64_t kLatencySlackMs = 200;

struct BatchRequest {
  char const* functionName;
  char const* daemon;
};

// The settings read: eleven requests to seven daemons.
constexpr BatchRequest kSettingsRead[] = {
    {"ChangeIspSettings", orvo::daemons::kIspServer},
    {"ChangeVideoSettings", orvo::daemons::kStreamer},
    {"ChangeOsdSettings", orvo::daemons::kOsd},
    {"ChangeNvrSettings", orvo::daemons::kNvr},
    {"ChangeAnalyticsSettings", orvo::daemons::kAnalytics},
    {"ChangeSoundLedSettings", orvo::daemons::kSoundsLeds},
    {"ChangeNetworkSettings", orvo::daemons::kNetworkd},
    {"NetworkStatus", orvo::daemons::kNetworkd},
    {"ChangeDeviceSettings", orvo::daemons::kCtlServer},
    {"ChangeUsernamePassword", orvo::daemons::kCtlServer},
    {"GetAvclientState", orvo::daemons::kAvclient},
};
constexpr std::size_t kBatchSize = std::size(kSettingsRead);

struct BatchResult {
  int64_t elapsedMs = 0;
  std::vector<Variant> answers;  // in kSettingsRead order
  std::vector<unsigned long> ids;
};

BatchResult runSettingsRead() {
  BatchResult result;
  BlockingIpcHandler bus(orvo::ipc::appendSuffix("settings_read_test"));
  EXPECT_TRUE(bus.init());
  std::vector<std::unique_ptr<BaseRequestMessage>> messages;
  Variant empty;
  empty.IsArray(false);
  int64_t const start = nowMs();
  for (BatchRequest const& request : kSettingsRead) {
    messages.push_back(orvo::ipc::messages::makeRequestByName(request.functionName, empty));
    messages.back()->NormalizeFields();  // "responseExpected" true, as callers send it
    EXPECT_TRUE(bus.sendRequest(request.daemon, *messages.back())) << request.functionName;
  }
  bus.waitAllRequestsSent(kBatchLimitMs);
  bus.waitAllResponsesReceived(kBatchLimitMs);
  result.elapsedMs = nowMs() - start;
  for (auto& message : messages) {
    result.ids.push_back(message->id());
    result.answers.push_back(bus.getResponseOrEmpty(message->id()));
  }
  return result;
}

int64_t timedRequest(char const* daemon, char const* functionName, bool& answered,
                     unsigned limitMs = kBatchLimitMs) {
  Variant empty;
  empty.IsArray(false);
  auto message = orvo::ipc::messages::makeRequestByName(functionName, empty);
  message->NormalizeFields();
  Variant answer;
  int64_t const start = nowMs();
  answered = BlockingIpcHandler::sendIpcBlocking(orvo::ipc::appendSuffix("latency_test"), daemon,
                                                 *message, &answer, true, limitMs);
  return nowMs() - start;
}

class BusDaemons : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(daemons_.started()); }
  daemontest::RunningDaemons daemons_;
};

TEST_F(BusDaemons, SettingsReadBatchIsAnsweredQuickly) {
  BatchResult batch = runSettingsRead();
  EXPECT_LT(batch.elapsedMs, 1000);
  for (std::size_t i = 0; i < kBatchSize; ++i) {
    Variant& answer = batch.answers[i];
    ASSERT_GT(answer.KeysCount(), 0u) << kSettingsRead[i].functionName;
    EXPECT_EQ(static_cast<unsigned long>(answer["id"]), batch.ids[i]);
    EXPECT_TRUE(answer["from"] == kSettingsRead[i].daemon);
  }
  EXPECT_EQ(static_cast<int>(batch.answers[0]["brightness"]), 50);
  EXPECT_EQ(static_cast<int>(batch.answers[1]["video"]["video1"]["fps"]), 30);
  EXPECT_TRUE(batch.answers[7]["ipAddress"] == "192.168.1.57");
  // Reading the login name is no change: no refusal.
  EXPECT_FALSE(batch.answers[9].GetKeyChain(orvo::variant::VT_ANY, "error", false));
  EXPECT_TRUE(batch.answers[9]["username"] == "admin");
  EXPECT_TRUE(batch.answers[10]["adopted"] == false);
}

TEST_F(BusDaemons, LatencyIsHonoured) {
  ASSERT_EQ(daemontest::camsim("ctl", std::string(orvo::daemons::kNvr) + " latency 300"), 0);
  bool answered = false;
  int64_t const elapsed = timedRequest(orvo::daemons::kNvr, "ChangeNvrSettings", answered);
  EXPECT_TRUE(answered);
  EXPECT_GE(elapsed, 300 - kLatencyToleranceMs);
  EXPECT_LE(elapsed, 300 + kLatencySlackMs);
  ASSERT_EQ(daemontest::camsim("ctl", std::string(orvo::daemons::kNvr) + " latency 0"), 0);
  EXPECT_LE(timedRequest(orvo::daemons::kNvr, "ChangeNvrSettings", answered), kLatencySlackMs);
  EXPECT_TRUE(answered);
}

TEST_F(BusDaemons, SlowDaemonSetsTheBatchTime) {
  ASSERT_EQ(daemontest::camsim("ctl", std::string(orvo::daemons::kStreamer) + " latency 1500"), 0);
  BatchResult const batch = runSettingsRead();
  EXPECT_GE(batch.elapsedMs, 1500 - kLatencyToleranceMs);
  // Far below the batch's 5000 ms limit: the batch ends with its slowest
  // answer. The margin covers a loaded machine under the sanitizers.
  EXPECT_LE(batch.elapsedMs, 1500 + 500);
  for (std::size_t i = 0; i < kBatchSize; ++i) {
    EXPECT_GT(batch.answers[i].KeysCount(), 0u) << kSettingsRead[i].functionName;
  }
}

TEST_F(BusDaemons, SilentDaemonLeavesItsAnswerEmpty) {
  ASSERT_EQ(daemontest::camsim("ctl", std::string(orvo::daemons::kStreamer) + " silent on"), 0);
  BatchResult const batch = runSettingsRead();
  EXPECT_GE(batch.elapsedMs, int64_t{kBatchLimitMs} - kLatencyToleranceMs);
  EXPECT_LE(batch.elapsedMs, int64_t{kBatchLimitMs} + 300);
  for (std::size_t i = 0; i < kBatchSize; ++i) {
    bool const silent = std::string(kSettingsRead[i].daemon) == orvo::daemons::kStreamer;
    EXPECT_EQ(batch.answers[i].IsEmpty(), silent) << kSettingsRead[i].functionName;
  }
}

TEST_F(BusDaemons, StopAndStartThroughCamsim) {
  std::string const socket = daemontest::cameraRoot() + "/run/orvo/orvo_osd.sock";
  struct stat info {};
  ASSERT_EQ(stat(socket.c_str(), &info), 0);
  ASSERT_EQ(daemontest::camsim("ctl", std::string(orvo::daemons::kOsd) + " stop"), 0);
  EXPECT_NE(stat(socket.c_str(), &info), 0);
  bool answered = true;
  timedRequest(orvo::daemons::kOsd, "ChangeOsdSettings", answered, kStoppedLimitMs);
  EXPECT_FALSE(answered);
  ASSERT_EQ(daemontest::camsim("ctl", std::string(orvo::daemons::kOsd) + " start"), 0);
  EXPECT_EQ(daemontest::camsim("call", R"(orvo_osd '{"functionName": "ChangeOsdSettings"}')"), 0);
}

TEST_F(BusDaemons, CallPrintsTheAnswerAndStateShowsTheChange) {
  EXPECT_EQ(daemontest::camsim("call",
                               R"(orvo_sounds_leds '{"functionName": "ChangeSoundLedSettings",
                                  "speakerVolume": 33}')"),
            0);
  std::string const stateFile = daemontest::cameraRoot() + "/sim/state/orvo_sounds_leds.json";
  Variant state;
  ASSERT_TRUE(state.FromJSONFile(stateFile));
  EXPECT_EQ(static_cast<int>(state["settings"]["speakerVolume"]), 33);
  EXPECT_EQ(daemontest::camsim("state", orvo::daemons::kSoundsLeds), 0);
  EXPECT_NE(daemontest::camsim("state", "orvo_nothing"), 0);
}

}  // namespace
