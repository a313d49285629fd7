// The program's wrapper around the bus: its checks before sending and the
// lines it writes to the camera's log.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "bus_test_support.h"
#include "messages/daemons.h"
#include "shared/bus_client.h"
#include "support/poll.h"

using bustest::Daemon;
using orvo::ipc::messages::BaseRequestMessage;
using orvo::variant::Variant;

namespace {

class Wrapper : public ::testing::Test {
 protected:
  void SetUp() override { bustest::cameraRoot(); }
};

}  // namespace

TEST_F(Wrapper, ExpectedResponseWithoutPlaceForItSendsNothing) {
  std::string const name = bustest::uniqueName(orvo::daemons::kAvclient);
  Daemon daemon(name, "echo");
  ASSERT_TRUE(daemon.waitListening());
  BaseRequestMessage message;
  message["responseExpected"] = true;
  EXPECT_FALSE(sendIpcBlockingWrapper("rest_manage", name, message, nullptr, true, 1000));
  EXPECT_TRUE(orvo::test::holdsFor([&] { return daemon.received().empty(); },
                                    std::chrono::milliseconds(50)));
  auto const lines =
      bustest::logRecordsWith("Request expecting a response, but response variable passed is NULL");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].level, "err");
  EXPECT_EQ(lines[0].tag, "orvo_cgi");
  EXPECT_EQ(lines[0].file, "src/utils");
  EXPECT_EQ(lines[0].function, "sendIpcBlockingWrapper");
}

TEST_F(Wrapper, MissingResponseExpectedIsSentAsFalse) {
  std::string const name = bustest::uniqueName(orvo::daemons::kCtlServer);
  Daemon daemon(name, "silent");
  ASSERT_TRUE(daemon.waitListening());
  BaseRequestMessage message;
  message["functionName"] = "StopService";
  EXPECT_TRUE(sendIpcBlockingWrapper("orvo_service", name, message, nullptr, true, 5000));
  Variant* flag = message.GetKeyChain(orvo::variant::VT_BOOL, "responseExpected", false);
  ASSERT_NE(flag, nullptr);
  EXPECT_FALSE(flag->AsBool());
  orvo::test::eventually([&] { return !daemon.received().empty(); }, std::chrono::milliseconds(500));
  ASSERT_EQ(daemon.received().size(), 1u);
  EXPECT_NE(daemon.received()[0].find("\"responseExpected\":false"), std::string::npos);
  std::string const from = "\"from\":\"orvo_service." + std::to_string(getpid()) + "\"";
  EXPECT_NE(daemon.received()[0].find(from), std::string::npos);
}

TEST_F(Wrapper, ResponseExpectedOfTheWrongTypeIsReplacedByFalse) {
  std::string const name = bustest::uniqueName(orvo::daemons::kCtlServer);
  Daemon daemon(name, "silent");
  ASSERT_TRUE(daemon.waitListening());
  BaseRequestMessage message;
  message["responseExpected"] = "yes";
  EXPECT_TRUE(sendIpcBlockingWrapper("orvo_service", name, message, nullptr, true, 5000));
  EXPECT_TRUE(message["responseExpected"] == false);
}

TEST_F(Wrapper, NonObjectMessageBecomesAnObject) {
  std::string const name = bustest::uniqueName(orvo::daemons::kCtlServer);
  Daemon daemon(name, "silent");
  ASSERT_TRUE(daemon.waitListening());
  BaseRequestMessage message(Variant("just text"));
  EXPECT_TRUE(sendIpcBlockingWrapper("orvo_service", name, message, nullptr, true, 5000));
  EXPECT_EQ(message.Type(), orvo::variant::VT_OBJECT);
  EXPECT_TRUE(message["responseExpected"] == false);
}

TEST_F(Wrapper, AnswerIsStoredInTheResponse) {
  std::string const name = bustest::uniqueName(orvo::daemons::kNetworkd);
  Daemon daemon(name, "echo", 20);
  ASSERT_TRUE(daemon.waitListening());
  BaseRequestMessage message;
  message["responseExpected"] = true;
  message["tag"] = "status";
  Variant response;
  EXPECT_TRUE(sendIpcBlockingWrapper("rest_status", name, message, &response, true, 5000));
  Variant* tag = response.GetKeyChain(orvo::variant::VT_STRING, "echo/tag", false);
  ASSERT_NE(tag, nullptr);
  EXPECT_EQ(static_cast<std::string const&>(*tag), "status");
}

TEST_F(Wrapper, DaemonThatDoesNotAnswerInTimeIsLogged) {
  std::string const name = bustest::uniqueName(orvo::daemons::kNetworkd);
  Daemon daemon(name, "silent");
  ASSERT_TRUE(daemon.waitListening());
  int runs = 0;
  int64_t const elapsed = bustest::fastestRun(150 + bustest::kSlackMs, [&] {
    ++runs;
    BaseRequestMessage message;
    message["responseExpected"] = true;
    Variant response;
    int64_t const start = bustest::nowMs();
    EXPECT_FALSE(sendIpcBlockingWrapper("rest_status", name, message, &response, true, 150));
    int64_t const took = bustest::nowMs() - start;
    EXPECT_GE(took, 150);
    return took;
  });
  EXPECT_LE(elapsed, 150 + bustest::kSlackMs);
  auto const lines = bustest::logRecordsWith("Unable to send IPC to " + name);
  ASSERT_EQ(lines.size(), static_cast<std::size_t>(runs));
  EXPECT_EQ(lines[0].level, "err");
  EXPECT_EQ(lines[0].tag, "orvo_cgi");
  EXPECT_EQ(lines[0].file, "src/utils");
  EXPECT_EQ(lines[0].function, "sendIpcBlockingWrapper");
}

TEST_F(Wrapper, BatchEndpointNamesCarryTheProcessId) {
  std::string const suffix = "." + std::to_string(getpid());
  BlockingIpcWrapper fromString(std::string("rest_settings_get"));
  BlockingIpcWrapper fromText("rest_reset_image");
  EXPECT_EQ(fromString.name(), "rest_settings_get" + suffix);
  EXPECT_EQ(fromText.name(), "rest_reset_image" + suffix);
  EXPECT_TRUE(fromString.init());
}

TEST_F(Wrapper, BatchThroughTheWrapperReachesTheDaemon) {
  std::string const name = bustest::uniqueName(orvo::daemons::kOsd);
  Daemon daemon(name, "echo", 10);
  ASSERT_TRUE(daemon.waitListening());
  BlockingIpcWrapper bus("rest_settings_get");
  ASSERT_TRUE(bus.init());
  BaseRequestMessage message;
  message["responseExpected"] = true;
  message["tag"] = "osd";
  ASSERT_TRUE(bus.sendRequest(name, message));
  EXPECT_TRUE(bus.waitAllRequestsSent(5000));
  EXPECT_TRUE(bus.waitAllResponsesReceived(5000));
  EXPECT_TRUE(bus.allRequestsSucceed());
  Variant answer = bus.getResponseOrEmpty(message.id());
  EXPECT_EQ(static_cast<std::string const&>(answer["to"]), bus.name());
}
