// The JSON reader and writer.
#include <gtest/gtest.h>

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "orvo/variant/variant.h"

using orvo::variant::Variant;
namespace vt = orvo::variant;

namespace {

Variant Parse(std::string const& text) {
  Variant v;
  EXPECT_TRUE(v.FromJSON(text)) << text;
  return v;
}

std::string Compact(Variant const& v) {
  std::string out;
  EXPECT_TRUE(v.ToJSON(out, false));
  return out;
}

std::string Nested(std::size_t depth) {
  return std::string(depth, '[') + std::string(depth, ']');
}

}  // namespace

TEST(VariantJsonRead, TypesOfParsedValues) {
  Variant v = Parse(R"({"o":{},"a":[],"s":"x","t":true,"f":false,"n":null,"i":-3,"d":0.5})");
  EXPECT_EQ(v.Type(), vt::VT_OBJECT);
  EXPECT_EQ(v["o"].Type(), vt::VT_OBJECT);
  EXPECT_EQ(v["a"].Type(), vt::VT_ARRAY);
  EXPECT_EQ(v["s"].Type(), vt::VT_STRING);
  EXPECT_TRUE(v["t"] == true);
  EXPECT_TRUE(v["f"] == false);
  EXPECT_EQ(v["n"].Type(), vt::VT_NULL);
  EXPECT_EQ(v["i"].Type(), vt::VT_INT64);
  EXPECT_EQ(v["d"].Type(), vt::VT_DOUBLE);
  EXPECT_EQ(Parse("  7 ").Type(), vt::VT_INT64);  // any value may be the root
  EXPECT_TRUE(Parse("\"root\"") == "root");
}

TEST(VariantJsonRead, IntegersKeepTheirExactValue) {
  Variant v = Parse("[9223372036854775807,-9223372036854775808,18446744073709551615,"
                    "9223372036854775808,18446744073709551616,0,-0]");
  EXPECT_EQ(v[0].Type(), vt::VT_INT64);
  EXPECT_EQ(static_cast<long>(v[0]), LONG_MAX);
  EXPECT_EQ(static_cast<long>(v[1]), LONG_MIN);
  EXPECT_EQ(v[2].Type(), vt::VT_UINT64);
  EXPECT_EQ(static_cast<unsigned long>(v[2]), ULONG_MAX);
  EXPECT_EQ(static_cast<unsigned long>(v[3]), 9223372036854775808UL);
  EXPECT_EQ(v[4].Type(), vt::VT_DOUBLE);  // beyond 64 bits
  EXPECT_DOUBLE_EQ(v[4].AsDouble(), 18446744073709551616.0);
  EXPECT_EQ(static_cast<long>(v[5]), 0);
  EXPECT_EQ(v[6].AsDouble(), 0.0);
}

TEST(VariantJsonRead, DoublesAreCorrectlyRounded) {
  Variant v = Parse("[0.1,1e-7,2.2250738585072011e-308,1.7976931348623157e308,1E2,5e-324]");
  EXPECT_EQ(v[0].AsDouble(), 0.1);
  EXPECT_EQ(v[1].AsDouble(), 1e-7);
  EXPECT_EQ(v[2].AsDouble(), 2.2250738585072011e-308);
  EXPECT_EQ(v[3].AsDouble(), std::numeric_limits<double>::max());
  EXPECT_EQ(v[4].Type(), vt::VT_DOUBLE);
  EXPECT_EQ(v[4].AsDouble(), 100.0);
  EXPECT_EQ(v[5].AsDouble(), std::numeric_limits<double>::denorm_min());
}

TEST(VariantJsonRead, NumbersBeyondTheRanges) {
  Variant v = Parse("[123.456e-789,-1e-400,0.0000001e-330,1844674407370955161577,-0,0e-99999,"
                    "-18446744073709551616,4.9e-324]");
  EXPECT_EQ(v[0].Type(), vt::VT_DOUBLE);
  EXPECT_EQ(v[0].AsDouble(), 0.0);  // too small for a double: zero
  EXPECT_FALSE(std::signbit(v[0].AsDouble()));
  EXPECT_EQ(v[1].AsDouble(), 0.0);
  EXPECT_TRUE(std::signbit(v[1].AsDouble()));  // with its sign
  EXPECT_EQ(v[2].AsDouble(), 0.0);
  EXPECT_EQ(v[3].AsDouble(), 1844674407370955161577.0);
  EXPECT_EQ(v[4].Type(), vt::VT_INT64);
  EXPECT_EQ(v[5].AsDouble(), 0.0);
  EXPECT_EQ(v[6].AsDouble(), -18446744073709551616.0);
  EXPECT_EQ(v[7].AsDouble(), std::numeric_limits<double>::denorm_min());
  Variant refused;
  EXPECT_FALSE(refused.FromJSON("[1e400]"));  // too large for a double
  EXPECT_FALSE(refused.FromJSON("[-123e99999999999999999999]"));
  EXPECT_FALSE(refused.FromJSON("[100000000000000000000e290]"));
  EXPECT_TRUE(refused.IsEmpty());
}

TEST(VariantJsonRead, StringsWithEscapesAndNulBytes) {
  Variant v = Parse(R"(["a\u0000b","\"\\\/\b\f\n\r\t","\u00e9\ud83d\ude00","é"])");
  EXPECT_EQ(static_cast<std::string const&>(v[0]), std::string("a\0b", 3));
  EXPECT_EQ(static_cast<std::string const&>(v[1]), "\"\\/\b\f\n\r\t");
  EXPECT_EQ(static_cast<std::string const&>(v[2]), "\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(static_cast<std::string const&>(v[3]), "\xC3\xA9");
  Variant key = Parse(R"({"k\u0000":1})");
  EXPECT_EQ(static_cast<int>(key[std::string("k\0", 2)]), 1);
}

TEST(VariantJsonRead, DuplicateKeysLastOneWins) {
  Variant v = Parse(R"({"a":1,"b":2,"a":[3]})");
  EXPECT_EQ(v.KeysCount(), 2u);
  EXPECT_EQ(v["a"].Type(), vt::VT_ARRAY);
  EXPECT_EQ(static_cast<int>(v["a"][0]), 3);
  Variant w = Parse(R"({"a":{"x":1},"a":{"y":2}})");
  EXPECT_EQ(Compact(w), R"({"a":{"y":2}})");  // the earlier object is replaced, not merged
}

TEST(VariantJsonRead, StrictSyntaxIsEnforced) {
  char const* const refused[] = {
      "", " ", "[1,]", "{\"a\":1,}", "[1] // c", "/* c */ [1]", "[NaN]", "[Infinity]",
      "[-Infinity]", "['a']", "[01]", "[1.]", "[.5]", "[+1]", "{a:1}", "[1] [2]", "[\"\t\"]",
      "[\"\\x41\"]", "[\"\\ud800\"]", "[\"\\udc00\"]", "{\"\\udfaa\":1}", "[1e]", "[0x10]",
      "[true", "nul", "[\"\xC3\x28\"]", "[\"\xED\xA0\x80\"]", "\xEF\xBB\xBF[]"};
  for (char const* text : refused) {
    Variant v;
    EXPECT_FALSE(v.FromJSON(text)) << text;
    EXPECT_TRUE(v.IsEmpty()) << text;
  }
}

TEST(VariantJsonRead, RawNulBytesAreRefused) {
  Variant v;
  EXPECT_FALSE(v.FromJSON(std::string("123\0", 4)));
  EXPECT_FALSE(v.FromJSON(std::string("[1]\0[2]", 7)));
  EXPECT_FALSE(v.FromJSON(std::string("[\"a\0b\"]", 7)));
  EXPECT_TRUE(v.FromJSON("[1]garbage", 3));  // the length bounds the text
  EXPECT_FALSE(v.FromJSON(nullptr, 0));
}

// Long ASCII runs are checked eight bytes at a time: a bad sequence is
// refused and a good one kept wherever it falls, in strings and in keys.
TEST(VariantJsonRead, Utf8IsCheckedAtEveryPositionOfALongString) {
  std::string const ascii(40, 'a');
  for (std::string const bad : {"\xFF", "\x80", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                                "\xE2\x82"}) {
    for (std::size_t at = 0; at <= ascii.size(); ++at) {
      std::string const text = ascii.substr(0, at) + bad + ascii.substr(at);
      Variant v;
      EXPECT_FALSE(v.FromJSON("[\"" + text + "\"]")) << "string, byte " << at;
      EXPECT_FALSE(v.FromJSON("{\"" + text + "\":1}")) << "key, byte " << at;
    }
  }
  for (std::string const good : {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
    for (std::size_t at = 0; at <= ascii.size(); ++at) {
      std::string const text = ascii.substr(0, at) + good + ascii.substr(at);
      Variant v;
      ASSERT_TRUE(v.FromJSON("[\"" + text + "\"]")) << "byte " << at;
      EXPECT_EQ(static_cast<std::string const&>(v[0]), text);
    }
  }
}

TEST(VariantJsonRead, FailureLeavesTheValueEmpty) {
  Variant v;
  v["kept"] = 1;
  EXPECT_FALSE(v.FromJSON("{\"a\":"));
  EXPECT_TRUE(v.IsEmpty());
  v["kept"] = 1;
  EXPECT_TRUE(v.FromJSON("[2]"));
  EXPECT_EQ(Compact(v), "[2]");  // success replaces the old value completely
}

TEST(VariantJsonRead, ParsingFromOwnMemberIsSafe) {
  Variant v;
  v["text"] = "{\"x\":1}";
  EXPECT_TRUE(v.FromJSON(static_cast<std::string const&>(v["text"])));
  EXPECT_EQ(Compact(v), R"({"x":1})");
}

TEST(VariantJsonRead, DepthIsBounded) {
  Variant v;
  EXPECT_TRUE(v.FromJSON(Nested(vt::kMaxJsonDepth)));
  EXPECT_FALSE(v.FromJSON(Nested(vt::kMaxJsonDepth + 1)));
  EXPECT_TRUE(v.IsEmpty());
  std::string objects;
  for (std::size_t i = 0; i <= vt::kMaxJsonDepth; ++i) objects += "{\"a\":";
  objects += "1" + std::string(vt::kMaxJsonDepth + 1, '}');
  EXPECT_FALSE(v.FromJSON(objects));
  EXPECT_FALSE(v.FromJSON(std::string(100000, '[')));
  EXPECT_FALSE(v.FromJSON(Nested(100000)));
  EXPECT_TRUE(v.IsEmpty());
}

TEST(VariantJsonWrite, CompactAndStyled) {
  Variant v;
  v["b"][0] = 1;
  v["b"][1] = "two";
  v["a"] = true;
  v["e"].IsArray(false);
  EXPECT_EQ(Compact(v), R"({"a":true,"b":[1,"two"],"e":{}})");
  std::string styled;
  ASSERT_TRUE(v.ToJSON(styled, true));
  EXPECT_EQ(styled, "{\n  \"a\": true,\n  \"b\": [\n    1,\n    \"two\"\n  ],\n  \"e\": {}\n}");
  Variant version;
  version["version"] = "1.2";
  EXPECT_EQ(Compact(version), R"({"version":"1.2"})");
}

TEST(VariantJsonWrite, ScalarsAndSpecialValues) {
  Variant v;
  EXPECT_EQ(Compact(v), "null");  // never assigned
  v["empty"];
  v["null"].SetNull();
  v["time"] = timeval{1795302492, 123456};
  v["early"] = timeval{0, 5};
  v["nan"] = std::nan("");
  v["inf"] = std::numeric_limits<double>::infinity();
  v["u8"] = static_cast<unsigned char>(255);
  v["i8"] = static_cast<signed char>(-128);
  v["u64"] = ULONG_MAX;
  v["i64"] = LONG_MIN;
  EXPECT_EQ(Compact(v), "{\"early\":\"1970-01-01T00:00:00.000005Z\",\"empty\":null,"
                        "\"i64\":-9223372036854775808,\"i8\":-128,\"inf\":null,\"nan\":null,"
                        "\"null\":null,\"time\":\"2026-11-21T23:08:12.123456Z\","
                        "\"u64\":18446744073709551615,\"u8\":255}");
}

TEST(VariantJsonWrite, DoublesInShortestRoundTripForm) {
  struct Case {
    double value;
    char const* text;
  } const cases[] = {
      {0.1, "0.1"},         {1.0, "1.0"},           {-0.0, "-0.0"},
      {100.0, "100.0"},     {1e300, "1e+300"},      {5e-324, "5e-324"},
      {0.30000000000000004, "0.30000000000000004"}, {123.456, "123.456"},
      {1e21, "1e+21"},      {-2.5, "-2.5"},
  };
  for (auto const& c : cases) {
    Variant v;
    v = c.value;
    EXPECT_EQ(Compact(v), c.text);
    Variant back;
    ASSERT_TRUE(back.FromJSON(Compact(v)));
    EXPECT_EQ(back.Type(), vt::VT_DOUBLE) << c.text;
    EXPECT_EQ(back.AsDouble(), c.value) << c.text;
  }
}

// The writer's own shortest form agrees with the standard library's for
// every power of two and its neighbours (where the nearest digits and the
// shortest ones part) and for random bit patterns.
TEST(VariantJsonWrite, DoublesMatchTheStandardShortestForm) {
  std::vector<double> values;
  for (int power = -1074; power <= 1023; ++power) {
    double const value = std::ldexp(1.0, power);
    values.insert(values.end(), {value, -value, std::nextafter(value, 0.0),
                                 std::nextafter(value, HUGE_VAL)});
  }
  std::mt19937_64 bits(20261122);
  while (values.size() < 30000) {
    std::uint64_t const pattern = bits();
    double value;
    std::memcpy(&value, &pattern, sizeof value);
    if (std::isfinite(value)) values.push_back(value);
  }
  int mismatches = 0;
  for (double value : values) {
    char expected[64];
    auto const end = std::to_chars(expected, expected + sizeof expected, value).ptr;
    Variant v;
    v = value;
    if (v.ToString() != std::string(expected, end) && ++mismatches <= 10) {
      ADD_FAILURE() << std::hexfloat << value << ": " << v.ToString() << " instead of "
                    << std::string(expected, end);
    }
  }
  EXPECT_EQ(mismatches, 0);
}

TEST(VariantJsonWrite, StringsAreEscapedAndAlwaysValidUtf8) {
  Variant v;
  v[0] = std::string("nul\0ctl\x01\x1f\"\\/", 12);
  v[1] = "\xC3\xA9\xF0\x9F\x98\x80";   // valid, written as it is
  v[2] = "bad\xFF\xC3";                // invalid bytes become U+FFFD
  v[3] = "\xED\xA0\x80";               // an encoded surrogate is invalid too
  v[4]["key\xFE"] = 1;
  EXPECT_EQ(Compact(v), "[\"nul\\u0000ctl\\u0001\\u001F\\\"\\\\/\",\"\xC3\xA9\xF0\x9F\x98\x80\","
                        "\"bad\xEF\xBF\xBD\xEF\xBF\xBD\",\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\","
                        "{\"key\xEF\xBF\xBD\":1}]");
  Variant back;
  EXPECT_TRUE(back.FromJSON(Compact(v)));
  EXPECT_EQ(static_cast<std::string const&>(back[0]), std::string("nul\0ctl\x01\x1f\"\\/", 12));
}

TEST(VariantJsonWrite, ParsedValuesSurviveARoundTrip) {
  char const* const texts[] = {
      R"({"z":[1,-2,3.25,"s",null,true,false,{"a":{}}],"a":18446744073709551615})",
      R"([[[]],{},"\u0000",-9223372036854775808,1e-300,0.5])",
      R"("\u20ac\ud834\udd1e")",
  };
  for (char const* text : texts) {
    Variant first = Parse(text);
    for (bool styled : {false, true}) {
      std::string out;
      ASSERT_TRUE(first.ToJSON(out, styled));
      Variant second;
      ASSERT_TRUE(second.FromJSON(out)) << out;
      EXPECT_TRUE(second == first) << out;
      EXPECT_EQ(Compact(second), Compact(first));
    }
  }
}
