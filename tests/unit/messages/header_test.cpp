// The header fields: generated ids, time stamps, and the request header.
#include <gtest/gtest.h>
#include <time.h>
#include <unistd.h>

#include "messages/daemons.h"
#include "message_test_support.h"
#include "messages/device.h"
#include "orvo/ipc/messages/base.h"
#include "orvo/utils/clock.h"

namespace orvo {
namespace ipc {
namespace messages {
namespace testing {
namespace {

using orvo::variant::VariantType;

constexpr unsigned long kTimeBits = 0xFFFFFFFFFFFFul;

unsigned long monotonicNanos() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<unsigned long>(ts.tv_sec) * 1000000000ul +
         static_cast<unsigned long>(ts.tv_nsec);
}

TEST(MessageId, GeneratedIdHoldsPidAndMonotonicTime) {
  unsigned long const before = monotonicNanos() & kTimeBits;
  BaseRequestMessage message;
  message.NormalizeFields();
  unsigned long const after = monotonicNanos() & kTimeBits;
  Variant const* id = message.GetKeyChain(orvo::variant::VT_UINT64, "id", false);
  ASSERT_NE(id, nullptr);
  unsigned long const value = static_cast<unsigned long>(*id);
  EXPECT_EQ(value >> 48, static_cast<unsigned long>(getpid()) & 0xFFFF);
  EXPECT_GE(value & kTimeBits, before);
  EXPECT_LE(value & kTimeBits, after);
}

TEST(MessageId, AccessorGeneratesOnceAndThenKeeps) {
  BaseMessage message;
  unsigned long const first = message.id();
  EXPECT_EQ(message.id(), first);
  message.NormalizeFields();
  EXPECT_EQ(message.id(), first);
}

TEST(MessageId, ExistingNumericIdKept) {
  StopService message(parse(R"({"id": 7})"));
  message.NormalizeFields();
  EXPECT_EQ(message.id(), 7ul);
  EXPECT_EQ(compact(message["id"]), "7");
}

TEST(MessageId, NonNumericIdReplaced) {
  BaseMessage message(parse(R"({"id": "7"})"));
  message.NormalizeFields();
  EXPECT_TRUE(message["id"].Type() & 0x4000);
  EXPECT_EQ(message.id() >> 48, static_cast<unsigned long>(getpid()) & 0xFFFF);
}

TEST(MessageTimeStamp, MissingBecomesNow) {
  timeval const before = orvo::utils::now();
  BaseMessage message;
  message.NormalizeFields();
  timeval const after = orvo::utils::now();
  ASSERT_EQ(message["timeStamp"].Type(), orvo::variant::VT_TIME);
  timeval const stamp = message.timeStamp();
  EXPECT_GE(stamp.tv_sec, before.tv_sec);
  EXPECT_LE(stamp.tv_sec, after.tv_sec);
}

TEST(MessageTimeStamp, TimeValueKeptOtherTypesReplaced) {
  BaseMessage kept;
  timeval const old{1000, 5};
  kept["timeStamp"] = old;
  kept.NormalizeFields();
  EXPECT_EQ(kept.timeStamp().tv_sec, 1000);
  EXPECT_EQ(kept.timeStamp().tv_usec, 5);

  BaseMessage replaced(parse(R"({"timeStamp": "2020-01-01T00:00:00Z"})"));
  replaced.NormalizeFields();
  EXPECT_EQ(replaced["timeStamp"].Type(), orvo::variant::VT_TIME);
  EXPECT_GT(replaced.timeStamp().tv_sec, 1000000000);
}

TEST(HeaderFields, GivenValuesOfTheRightKindSurvive) {
  BaseRequestMessage message(parse(
      R"({"from": "rest_status", "to": "orvo_networkd", "functionName": "CancelWait",
          "queueIfDestUnavailable": false, "responseExpected": true,
          "transactionId": 42, "isBroadcast": true})"));
  message.NormalizeFields();
  EXPECT_EQ(message.from(), "rest_status");
  EXPECT_EQ(message.to(), orvo::daemons::kNetworkd);
  EXPECT_EQ(message.functionName(), "CancelWait");
  EXPECT_FALSE(message.queueIfDestUnavailable());
  EXPECT_TRUE(message.responseExpected());
  EXPECT_EQ(message.transactionId(), 42);
  EXPECT_TRUE(message.isBroadcast());
}

TEST(HeaderFields, MistypedValuesBecomeDefaults) {
  BaseRequestMessage message(parse(
      R"({"from": 1, "to": [], "functionName": false, "queueIfDestUnavailable": "no",
          "responseExpected": 1, "transactionId": "42", "isBroadcast": null})"));
  message.NormalizeFields();
  EXPECT_EQ(compact(withoutStamps(message)), goldenJson("BaseRequestMessage"));
}

TEST(HeaderFields, TransactionIdLeavesAsSigned64) {
  BaseRequestMessage message(parse(R"({"transactionId": 42.5})"));
  message.NormalizeFields();
  EXPECT_EQ(message["transactionId"].Type(), orvo::variant::VT_INT64);
  EXPECT_EQ(compact(message["transactionId"]), "42");
}

TEST(HeaderFields, AccessorsRepairTheirField) {
  BaseRequestMessage message;
  EXPECT_EQ(message.transactionId(), -1);
  EXPECT_EQ(compact(message["transactionId"]), "-1");
  EXPECT_EQ(message.from(), "");
  EXPECT_NE(message.GetKeyChain(orvo::variant::VT_STRING, "from", false), nullptr);
}

}  // namespace
}  // namespace testing
}  // namespace messages
}  // namespace ipc
}  // namespace orvo
