// Requests and batches against real daemon processes: matching of answers,
// parallelism, and every time limit.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "messages/daemons.h"
#include "bus_test_support.h"
#include "orvo/ipc/blocking_ipc_handler.h"

using bustest::Daemon;
using bustest::nowMs;
using orvo::ipc::BlockingIpcHandler;
using orvo::ipc::messages::BaseRequestMessage;
using orvo::variant::Variant;

namespace {

using bustest::kSlackMs;

BaseRequestMessage request(std::string const& tag, bool responseExpected = true) {
  BaseRequestMessage message;
  message["functionName"] = "Probe";
  message["tag"] = tag;
  message["responseExpected"] = responseExpected;
  return message;
}

std::string echoed(Variant& answer, char const* key) {
  Variant* value = answer.GetKeyChain(orvo::variant::VT_STRING, std::string("echo/") + key, false);
  return value ? static_cast<std::string const&>(*value) : std::string("(missing)");
}

class Batch : public ::testing::Test {
 protected:
  void SetUp() override { bustest::cameraRoot(); }
};

}  // namespace

TEST_F(Batch, AnswerIsMatchedToItsRequestAndCarriesTheHeader) {
  std::string const name = bustest::uniqueName(orvo::daemons::kOsd);
  Daemon daemon(name, "echo", 50);
  ASSERT_TRUE(daemon.waitListening());
  BlockingIpcHandler bus("rest_test.1");
  ASSERT_TRUE(bus.init());
  BaseRequestMessage message = request("first");
  ASSERT_TRUE(bus.sendRequest(name, message));
  EXPECT_TRUE(bus.waitAllRequestsSent(1000));
  EXPECT_TRUE(bus.waitAllResponsesReceived(1000));
  EXPECT_TRUE(bus.allRequestsSucceed());

  Variant answer = bus.getResponseOrEmpty(message.id());
  EXPECT_EQ(echoed(answer, "tag"), "first");
  EXPECT_EQ(echoed(answer, "from"), "rest_test.1");
  EXPECT_EQ(echoed(answer, "to"), name);
  EXPECT_EQ(static_cast<std::string const&>(answer["from"]), name);
  EXPECT_EQ(static_cast<std::string const&>(answer["to"]), "rest_test.1");
  EXPECT_EQ(static_cast<unsigned long>(answer["id"]), message.id());
  EXPECT_GE(bus.getLatency(message.id()), 45ul);
  // The daemon's own scheduling adds to this; it must not be the whole wait.
  EXPECT_LT(bus.getLatency(message.id()), 250ul);
}

TEST_F(Batch, UnknownIdsGiveEmptyAnswersAndNoLatency) {
  BlockingIpcHandler bus("rest_test.2");
  ASSERT_TRUE(bus.init());
  EXPECT_TRUE(bus.getResponseOrEmpty(12345).IsEmpty());
  EXPECT_EQ(bus.getLatency(12345), 0ul);
  EXPECT_TRUE(bus.allRequestsSucceed());
}

TEST_F(Batch, ElevenRequestsToSlowDaemonsRunInParallel) {
  std::vector<std::string> const bases{orvo::daemons::kIspServer, orvo::daemons::kStreamer, orvo::daemons::kOsd,
                                       orvo::daemons::kNvr,       orvo::daemons::kAnalytics, orvo::daemons::kSoundsLeds,
                                       orvo::daemons::kNetworkd,  orvo::daemons::kNetworkd,  orvo::daemons::kCtlServer,
                                       orvo::daemons::kCtlServer, orvo::daemons::kAvclient};
  std::vector<std::unique_ptr<Daemon>> daemons;
  std::vector<std::string> destinations;
  for (auto const& base : bases) {
    if (!destinations.empty() && destinations.back().rfind(base, 0) == 0) {
      destinations.push_back(destinations.back());  // second request to the same daemon
      continue;
    }
    destinations.push_back(bustest::uniqueName(base));
    daemons.push_back(std::make_unique<Daemon>(destinations.back(), "echo", 300));
  }
  for (auto& daemon : daemons) ASSERT_TRUE(daemon->waitListening());

  BlockingIpcHandler bus("rest_settings_get.3");
  ASSERT_TRUE(bus.init());
  std::vector<BaseRequestMessage> messages;
  for (std::size_t i = 0; i < destinations.size(); ++i) messages.push_back(request("r" + std::to_string(i)));
  int64_t const start = nowMs();
  for (std::size_t i = 0; i < destinations.size(); ++i) ASSERT_TRUE(bus.sendRequest(destinations[i], messages[i]));
  EXPECT_TRUE(bus.waitAllRequestsSent(5000));
  EXPECT_TRUE(bus.waitAllResponsesReceived(5000));
  int64_t const elapsed = nowMs() - start;
  EXPECT_GE(elapsed, 295);
  EXPECT_LT(elapsed, 600);
  EXPECT_TRUE(bus.allRequestsSucceed());
  for (std::size_t i = 0; i < messages.size(); ++i) {
    Variant answer = bus.getResponseOrEmpty(messages[i].id());
    EXPECT_EQ(echoed(answer, "tag"), "r" + std::to_string(i));
    EXPECT_EQ(static_cast<std::string const&>(answer["servedBy"]), destinations[i]);
  }
}

TEST_F(Batch, SilentDaemonFailsTheWaitExactlyAtItsLimit) {
  std::string const name = bustest::uniqueName(orvo::daemons::kNvr);
  Daemon daemon(name, "silent");
  ASSERT_TRUE(daemon.waitListening());
  int runs = 0;
  int64_t const elapsed = bustest::fastestRun(250 + kSlackMs, [&] {
    ++runs;
    BlockingIpcHandler bus("rest_test.4");
    EXPECT_TRUE(bus.init());
    BaseRequestMessage message = request("quiet");
    EXPECT_TRUE(bus.sendRequest(name, message));
    EXPECT_TRUE(bus.waitAllRequestsSent(1000));
    int64_t const start = nowMs();
    EXPECT_FALSE(bus.waitAllResponsesReceived(250));
    int64_t const waited = nowMs() - start;
    EXPECT_GE(waited, 250);
    EXPECT_FALSE(bus.allRequestsSucceed());
    EXPECT_TRUE(bus.getResponseOrEmpty(message.id()).IsEmpty());
    return waited;
  });
  EXPECT_LE(elapsed, 250 + kSlackMs);
  EXPECT_EQ(daemon.received().size(), static_cast<std::size_t>(runs));
}

TEST_F(Batch, OneSilentDaemonDoesNotHideTheOthersAnswers) {
  std::string const quiet = bustest::uniqueName(orvo::daemons::kNvr);
  std::string const talker = bustest::uniqueName(orvo::daemons::kOsd);
  Daemon silent(quiet, "silent");
  Daemon echo(talker, "echo", 20);
  ASSERT_TRUE(silent.waitListening());
  ASSERT_TRUE(echo.waitListening());
  BlockingIpcHandler bus("rest_test.5");
  ASSERT_TRUE(bus.init());
  BaseRequestMessage toQuiet = request("a");
  BaseRequestMessage toTalker = request("b");
  ASSERT_TRUE(bus.sendRequest(quiet, toQuiet));
  ASSERT_TRUE(bus.sendRequest(talker, toTalker));
  EXPECT_FALSE(bus.waitAllResponsesReceived(200));
  Variant answer = bus.getResponseOrEmpty(toTalker.id());
  EXPECT_EQ(echoed(answer, "tag"), "b");
  EXPECT_TRUE(bus.getResponseOrEmpty(toQuiet.id()).IsEmpty());
}

TEST_F(Batch, MessageWithoutExpectedAnswerIsDoneOnceSent) {
  std::string const name = bustest::uniqueName(orvo::daemons::kCtlServer);
  Daemon daemon(name, "silent");
  ASSERT_TRUE(daemon.waitListening());
  int64_t const elapsed = bustest::fastestRun(kSlackMs, [&] {
    BlockingIpcHandler bus("rest_test.6");
    EXPECT_TRUE(bus.init());
    BaseRequestMessage message = request("fire", false);
    EXPECT_TRUE(bus.sendRequest(name, message));
    int64_t const start = nowMs();
    EXPECT_TRUE(bus.waitAllResponsesReceived(1000));
    EXPECT_TRUE(bus.allRequestsSucceed());
    return nowMs() - start;
  });
  EXPECT_LE(elapsed, kSlackMs);
}

TEST_F(Batch, SameIdTwiceInOneBatchIsRefused) {
  std::string const name = bustest::uniqueName(orvo::daemons::kOsd);
  Daemon daemon(name, "echo");
  ASSERT_TRUE(daemon.waitListening());
  BlockingIpcHandler bus("rest_test.7");
  ASSERT_TRUE(bus.init());
  BaseRequestMessage message = request("twice");
  ASSERT_TRUE(bus.sendRequest(name, message));
  EXPECT_FALSE(bus.sendRequest(name, message));
}

// Counts the callbacks and refuses answers when told to.
class CountingHandler : public BlockingIpcHandler {
 public:
  explicit CountingHandler(bool acceptAnswers)
      : BlockingIpcHandler("rest_test.9"), acceptAnswers_(acceptAnswers) {}
  int sent = 0;
  int answers = 0;

 protected:
  void MessageSentSuccessfully(orvo::ipc::messages::BaseMessage&, bool&) override { ++sent; }
  void HandleResponse(BaseRequestMessage& request,
                      orvo::ipc::messages::BaseResponseMessage& response, bool& accept) override {
    ++answers;
    EXPECT_EQ(static_cast<unsigned long>(response["id"]), request.id());
    accept = acceptAnswers_;
  }

 private:
  bool acceptAnswers_;
};

TEST_F(Batch, CallbacksSeeEverySentMessageAndAnswer) {
  std::string const name = bustest::uniqueName(orvo::daemons::kOsd);
  Daemon daemon(name, "echo");
  ASSERT_TRUE(daemon.waitListening());
  CountingHandler bus(true);
  ASSERT_TRUE(bus.init());
  BaseRequestMessage first = request("1");
  BaseRequestMessage second = request("2", false);
  ASSERT_TRUE(bus.sendRequest(name, first));
  ASSERT_TRUE(bus.sendRequest(name, second));
  EXPECT_TRUE(bus.waitAllResponsesReceived(1000));
  EXPECT_EQ(bus.sent, 2);
  EXPECT_EQ(bus.answers, 1);
  EXPECT_TRUE(bus.allRequestsSucceed());
}

TEST_F(Batch, RefusedAnswerFailsItsRequest) {
  std::string const name = bustest::uniqueName(orvo::daemons::kOsd);
  Daemon daemon(name, "echo");
  ASSERT_TRUE(daemon.waitListening());
  CountingHandler bus(false);
  ASSERT_TRUE(bus.init());
  BaseRequestMessage message = request("no thanks");
  ASSERT_TRUE(bus.sendRequest(name, message));
  EXPECT_FALSE(bus.waitAllResponsesReceived(1000));
  EXPECT_EQ(bus.answers, 1);
  EXPECT_FALSE(bus.allRequestsSucceed());
  EXPECT_TRUE(bus.getResponseOrEmpty(message.id()).IsEmpty());
}

TEST_F(Batch, InvalidNamesAreRefused) {
  BlockingIpcHandler invalid("../escape");
  EXPECT_FALSE(invalid.init());
  BlockingIpcHandler bus("rest_test.8");
  ASSERT_TRUE(bus.init());
  BaseRequestMessage message = request("x");
  EXPECT_FALSE(bus.sendRequest("no/such", message));
}
