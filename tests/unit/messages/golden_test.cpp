// Every class normalises an empty object to exactly its hand-written golden
// JSON: every default, every nested element, the header fields.
#include <gtest/gtest.h>

#include "message_test_support.h"

namespace orvo {
namespace ipc {
namespace messages {
namespace testing {
namespace {

class GoldenTest : public ::testing::TestWithParam<MessageClass> {};

TEST_P(GoldenTest, EmptyObjectNormalisesToEveryDefault) {
  Variant empty;
  empty.IsArray(false);
  auto message = GetParam().make(empty);
  ASSERT_NE(message, nullptr);
  EXPECT_TRUE(message->NormalizeFields());
  EXPECT_EQ(compact(withoutStamps(*message)), goldenJson(GetParam().name));
}

TEST_P(GoldenTest, OnlyMessagesCarryIdAndTimeStamp) {
  Variant empty;
  empty.IsArray(false);
  auto message = GetParam().make(empty);
  message->NormalizeFields();
  bool const hasId = message->GetKeyChain(orvo::variant::VT_ANY, "id", false) != nullptr;
  bool const hasTime = message->GetKeyChain(orvo::variant::VT_TIME, "timeStamp", false) != nullptr;
  EXPECT_EQ(hasId, GetParam().isRequest);
  EXPECT_EQ(hasTime, GetParam().isRequest);
}

// A message that is not a container at all ends with every default too.
TEST_P(GoldenTest, StringMessageBecomesObjectWithAllDefaults) {
  auto message = GetParam().make(Variant("not a message"));
  message->NormalizeFields();
  EXPECT_EQ(static_cast<orvo::variant::VariantType>(*message), orvo::variant::VT_OBJECT);
  EXPECT_EQ(compact(withoutStamps(*message)), goldenJson(GetParam().name));
}

TEST_P(GoldenTest, ArrayMessageEndsAsObjectWithAllDefaults) {
  auto message = GetParam().make(parse("[1, 2, 3]"));
  message->NormalizeFields();
  EXPECT_EQ(static_cast<orvo::variant::VariantType>(*message), orvo::variant::VT_OBJECT);
  EXPECT_EQ(compact(withoutStamps(*message)), goldenJson(GetParam().name));
}

TEST_P(GoldenTest, NormalisingTwiceChangesNothing) {
  auto message = GetParam().make(parse(R"({"contrast": "x", "wifi": 3, "type": "FLV"})"));
  message->NormalizeFields();
  std::string const once = compact(*message);
  message->NormalizeFields();
  EXPECT_EQ(compact(*message), once);
}

std::string className(::testing::TestParamInfo<MessageClass> const& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(AllClasses, GoldenTest, ::testing::ValuesIn(allMessageClasses()),
                         className);

TEST(GoldenCoverage, EighteenRequestsSixteenElementsTwoHeaders) {
  int requests = 0;
  int elements = 0;
  for (MessageClass const& c : allMessageClasses()) (c.isRequest ? requests : elements) += 1;
  EXPECT_EQ(requests, 18 + 2);
  EXPECT_EQ(elements, 16);
}

}  // namespace
}  // namespace testing
}  // namespace messages
}  // namespace ipc
}  // namespace orvo
