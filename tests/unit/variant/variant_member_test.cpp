// Picking one member of a JSON object: the same verdict as the whole parse,
// the same value for that member, nothing built for the others.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvo/variant/json_member.h"
#include "orvo/variant/variant.h"

using orvo::variant::MemberFromJSON;
using orvo::variant::Variant;

namespace {

TEST(MemberFromJson, PicksTheNamedMemberOnly) {
  std::string text = R"({"a":{"x":[1,{"y":null}]},"b":"two","c":3.5})";
  for (char const* name : {"a", "b", "c"}) {
    Variant whole, member;
    ASSERT_TRUE(whole.FromJSON(text));
    bool found = false;
    ASSERT_TRUE(MemberFromJSON(text, name, member, found)) << name;
    EXPECT_TRUE(found) << name;
    EXPECT_TRUE(member == whole[name]) << name;
  }
  Variant member;
  member = 5;
  bool found = true;
  ASSERT_TRUE(MemberFromJSON(text, "x", member, found));  // nested names do not count
  EXPECT_FALSE(found);
  EXPECT_TRUE(member.IsEmpty());
}

TEST(MemberFromJson, RepeatedNameKeepsTheLast) {
  Variant member;
  bool found = false;
  ASSERT_TRUE(MemberFromJSON(R"({"a":{"x":1},"b":0,"a":{"y":2}})", "a", member, found));
  ASSERT_TRUE(found);
  Variant expected;
  ASSERT_TRUE(expected.FromJSON(R"({"y":2})"));
  EXPECT_TRUE(member == expected);
}

TEST(MemberFromJson, SameVerdictAsTheWholeParse) {
  std::vector<std::string> texts{
      "",      "{",         "[]",  "5",  "{\"a\":1}x", "{\"a\":\"\\uDC00\"}", "{\"b\":\"\\uDC00\"}",
      "{\"a\":1e99999}", "{\"b\":1e99999}", std::string("{\"a\":1}\0", 8), "{\"a\":[1,]}",
      std::string(600, '[') + std::string(600, ']'), "{\"b\":" + std::string(600, '[') + std::string(600, ']') + "}"};
  for (std::string const& text : texts) {
    Variant whole, member;
    bool found = false;
    EXPECT_EQ(MemberFromJSON(text, "a", member, found), whole.FromJSON(text)) << text;
  }
}

}  // namespace
