// The field-table engine on its own: kind tests, range rules, enum matching,
// find-or-default.
#include <gtest/gtest.h>

#include <climits>

#include "message_test_support.h"
#include "orvo/ipc/messages/fields.h"

namespace orvo {
namespace ipc {
namespace messages {
namespace fields {
namespace {

using orvo::variant::Variant;
using orvo::variant::VariantType;
namespace v = orvo::variant;

TEST(KindTests, MasksSeparateTheKinds) {
  EXPECT_TRUE(isContainer(v::VT_OBJECT));
  EXPECT_TRUE(isContainer(v::VT_ARRAY));
  EXPECT_FALSE(isContainer(v::VT_STRING));
  EXPECT_TRUE(isObjectField(v::VT_OBJECT));
  EXPECT_TRUE(isObjectField(v::VT_ARRAY));
  EXPECT_FALSE(isObjectField(v::VT_STRING));
  EXPECT_TRUE(isString(v::VT_STRING));
  EXPECT_FALSE(isString(v::VT_TIME));
  EXPECT_FALSE(isString(v::VT_OBJECT));
  EXPECT_TRUE(isBool(v::VT_BOOL));
  EXPECT_FALSE(isBool(v::VT_INT16));
  EXPECT_TRUE(isTime(v::VT_TIME));
  EXPECT_FALSE(isTime(v::VT_STRING));
  for (VariantType t : {v::VT_INT8, v::VT_UINT8, v::VT_INT16, v::VT_UINT16, v::VT_INT32,
                        v::VT_UINT32, v::VT_INT64, v::VT_UINT64, v::VT_DOUBLE}) {
    EXPECT_TRUE(isNumber(t)) << t;
  }
  EXPECT_FALSE(isNumber(v::VT_BOOL));
  EXPECT_FALSE(isNumber(v::VT_NULL));
  EXPECT_FALSE(isNumber(v::VT_EMPTY));
}

TEST(RangeRules, AtLeastMinusOne) {
  EXPECT_EQ(clampToRange<int>(-7, atLeast(-1)), -1);
  EXPECT_EQ(clampToRange<int>(-1, atLeast(-1)), -1);
  EXPECT_EQ(clampToRange<int>(INT_MAX, atLeast(-1)), INT_MAX);
  EXPECT_EQ(clampToRange<signed char>(-128, atLeast(-1)), -1);
}

TEST(RangeRules, AtLeastZero) {
  EXPECT_EQ(clampToRange<int>(-5, atLeast(0)), 0);
  EXPECT_EQ(clampToRange<int>(0, atLeast(0)), 0);
  EXPECT_EQ(clampToRange<int>(9, atLeast(0)), 9);
}

TEST(RangeRules, FlagKeepsOnlyMinusOneZeroOne) {
  EXPECT_EQ(clampToRange<int>(-9, flag), -1);
  EXPECT_EQ(clampToRange<int>(0, flag), 0);
  EXPECT_EQ(clampToRange<int>(1, flag), 1);
  EXPECT_EQ(clampToRange<int>(15, flag), 1);
  EXPECT_EQ(clampToRange<int>(INT_MIN, flag), -1);
}

TEST(RangeRules, AtMostOnUnsigned) {
  EXPECT_EQ(clampToRange<unsigned char>(150, atMost(101)), 101);
  EXPECT_EQ(clampToRange<unsigned char>(101, atMost(101)), 101);
  EXPECT_EQ(clampToRange<unsigned char>(0, atMost(101)), 0);
  EXPECT_EQ(clampToRange<unsigned int>(UINT_MAX, atMost(65536)), 65536u);
  EXPECT_EQ(clampToRange<unsigned short>(60001, atMost(60000)), 60000);
}

TEST(RangeRules, MinusOneUpTo) {
  EXPECT_EQ(clampToRange<int>(9, within(-1, 3)), 3);
  EXPECT_EQ(clampToRange<int>(-7, within(-1, 3)), -1);
  EXPECT_EQ(clampToRange<int>(2, within(-1, 3)), 2);
  EXPECT_EQ(clampToRange<signed char>(127, within(-1, 100)), 100);
}

TEST(RangeRules, LowToHighOnUnsigned) {
  EXPECT_EQ(clampToRange<unsigned int>(5000, within(7999, 160000)), 7999u);
  EXPECT_EQ(clampToRange<unsigned int>(200000, within(7999, 160000)), 160000u);
  EXPECT_EQ(clampToRange<unsigned int>(0, within(7999, 160000)), 7999u);
  EXPECT_EQ(clampToRange<unsigned int>(8000, within(7999, 160000)), 8000u);
}

TEST(RangeRules, NoRangeLeavesEverything) {
  EXPECT_EQ(clampToRange<long>(LONG_MIN, noRange), LONG_MIN);
  EXPECT_EQ(clampToRange<unsigned long>(ULONG_MAX, noRange), ULONG_MAX);
}

TEST(EnumMatching, CaseInsensitiveSameLengthCanonicalOut) {
  static char const* const modes[] = {"none", "manual", "auto"};
  EXPECT_STREQ(canonicalSpelling("AUTO", modes, 3), "auto");
  EXPECT_STREQ(canonicalSpelling("Manual", modes, 3), "manual");
  EXPECT_STREQ(canonicalSpelling("autox", modes, 3), "none");
  EXPECT_STREQ(canonicalSpelling("aut", modes, 3), "none");
  EXPECT_STREQ(canonicalSpelling("", modes, 3), "none");
  EXPECT_STREQ(canonicalSpelling(std::string("au\0o", 4), modes, 3), "none");
}

TEST(EnumMatching, EmptyFirstEntryIsTheDefault) {
  static char const* const colours[] = {"", "black", "white_red"};
  EXPECT_STREQ(canonicalSpelling("WHITE_RED", colours, 3), "white_red");
  EXPECT_STREQ(canonicalSpelling("purple", colours, 3), "");
  EXPECT_STREQ(canonicalSpelling("", colours, 3), "");
}

TEST(FindOrDefault, MissingAndMistypedBecomeDefaultRightKindKept) {
  Variant message;
  message.IsArray(false);
  message["kept"] = 500;
  message["wrong"] = "12";
  EXPECT_EQ(numberField<unsigned char>(message, "missing", 101, atMost(101), FieldPass::Read), 101);
  EXPECT_EQ(numberField<int>(message, "kept", -1, flag, FieldPass::Read), 500);
  EXPECT_EQ(numberField<int>(message, "wrong", -1, flag, FieldPass::Read), -1);
  EXPECT_EQ(testing::compact(message), R"({"kept":500,"missing":101,"wrong":-1})");
}

TEST(FindOrDefault, NormalizePassClampsAndWritesExactType) {
  Variant message;
  message.IsArray(false);
  message["level"] = 500;
  EXPECT_EQ(numberField<unsigned int>(message, "level", 256, atMost(256), FieldPass::Normalize),
            256u);
  EXPECT_EQ(message["level"].Type(), orvo::variant::VT_UINT32);
}

TEST(FindOrDefault, NormalizePassWritesUnrangedNumbersInTheirType) {
  Variant message;
  message.IsArray(false);
  message["count"] = 2.75;
  message["version"] = 7;
  EXPECT_EQ(numberField<int>(message, "count", -1, noRange, FieldPass::Normalize), 2);
  EXPECT_EQ(message["count"].Type(), orvo::variant::VT_INT32);
  EXPECT_EQ(numberField<unsigned int>(message, "version", 0, noRange, FieldPass::Normalize), 7u);
  EXPECT_EQ(message["version"].Type(), orvo::variant::VT_UINT32);
  EXPECT_EQ(testing::compact(message), R"({"count":2,"version":7})");
}

TEST(FindOrDefault, ReadPassLeavesTheStoredTypeAlone) {
  Variant message;
  message.IsArray(false);
  message["count"] = 2.75;
  EXPECT_EQ(numberField<int>(message, "count", -1, noRange, FieldPass::Read), 2);
  EXPECT_EQ(message["count"].Type(), orvo::variant::VT_DOUBLE);
}

TEST(FindOrDefault, ReadPassNeverClampsOrCanonicalises) {
  Variant message;
  message.IsArray(false);
  message["level"] = 500;
  message["mode"] = "AUTO";
  static char const* const modes[] = {"none", "auto"};
  EXPECT_EQ(numberField<unsigned int>(message, "level", 256, atMost(256), FieldPass::Read), 500u);
  EXPECT_EQ(enumField(message, "mode", modes, 2, FieldPass::Read), "AUTO");
  EXPECT_EQ(enumField(message, "mode", modes, 2, FieldPass::Normalize), "auto");
  EXPECT_EQ(testing::compact(message), R"({"level":500,"mode":"auto"})");
}

TEST(FindOrDefault, NonContainerMessageBecomesEmptyObjectFirst) {
  Variant message("text");
  EXPECT_EQ(stringField(message, "name", "x"), "x");
  EXPECT_EQ(testing::compact(message), R"({"name":"x"})");
  Variant number;
  number = 12;
  EXPECT_TRUE(boolField(number, "on", true));
  EXPECT_EQ(testing::compact(number), R"({"on":true})");
}

TEST(FindOrDefault, KeptFieldAcceptsObjectsAndArraysOnly) {
  Variant message = testing::parse(R"({"a": [1, {"b": 2}], "c": {"d": "e"}, "f": "g"})");
  keptField(message, "a", emptyObject());
  keptField(message, "c", emptyObject());
  keptField(message, "f", emptyObject());
  EXPECT_EQ(testing::compact(message), R"({"a":[1,{"b":2}],"c":{"d":"e"},"f":{}})");
}

}  // namespace
}  // namespace fields
}  // namespace messages
}  // namespace ipc
}  // namespace orvo
