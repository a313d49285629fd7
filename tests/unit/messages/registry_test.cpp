#include <gtest/gtest.h>

#include <set>

#include "message_test_support.h"
#include "messages/registry.h"

namespace orvo {
namespace ipc {
namespace messages {
namespace testing {
namespace {

TEST(Registry, EveryNameBuildsItsOwnClass) {
  std::set<std::string> names;
  for (std::size_t i = 0; i < requestNameCount(); ++i) {
    std::string const name = requestName(i);
    names.insert(name);
    auto message = makeRequestByName(name, parse(R"({"functionName": "Other", "extra": 3})"));
    ASSERT_NE(message, nullptr) << name;
    message->NormalizeFields();
    EXPECT_EQ(message->functionName(), name);
    EXPECT_EQ(compact((*message)["extra"]), "3") << name;
  }
  EXPECT_EQ(names.size(), 19u);  // 18 classes and CancelWait
  EXPECT_EQ(requestName(requestNameCount()), nullptr);
}

TEST(Registry, UnknownNamesGiveNothing) {
  Variant body;
  EXPECT_EQ(makeRequestByName("", body), nullptr);
  EXPECT_EQ(makeRequestByName("stopservice", body), nullptr);
  EXPECT_EQ(makeRequestByName("OsdCh", body), nullptr);
}

TEST(Registry, CancelWaitIsAPlainRequest) {
  auto message = makeRequestByName("CancelWait", Variant("junk"));
  ASSERT_NE(message, nullptr);
  message->NormalizeFields();
  Variant expected = parse(R"({"functionName": "CancelWait", "responseExpected": false,
      "transactionId": -1, "isBroadcast": false, "from": "", "to": "",
      "queueIfDestUnavailable": true})");
  EXPECT_EQ(compact(withoutStamps(*message)), compact(expected));
}

TEST(Registry, ClassDefaultForResponseExpected) {
  Variant empty;
  empty.IsArray(false);
  auto scan = makeRequestByName("ScanAP", empty);
  auto reset = makeRequestByName("ResetToDefaults", empty);
  scan->NormalizeFields();
  reset->NormalizeFields();
  EXPECT_TRUE(scan->responseExpected());
  EXPECT_FALSE(reset->responseExpected());
}

}  // namespace
}  // namespace testing
}  // namespace messages
}  // namespace ipc
}  // namespace orvo
