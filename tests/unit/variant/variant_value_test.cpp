// Tags, typed assignment and reads, comparisons, copies and moves.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

#include "orvo/variant/variant.h"

using orvo::variant::BaseVariantContainer;
using orvo::variant::TagPasses;
using orvo::variant::Variant;
using orvo::variant::VariantType;
namespace vt = orvo::variant;

namespace {

// The masks callers apply to a tag, one per field kind.
struct KindTest {
  char const* name;
  bool (*passes)(uint32_t tag);
};

KindTest const kKinds[] = {
    {"object", [](uint32_t t) { return (t & 0x1010) == 0x1010; }},
    {"string", [](uint32_t t) { return (t & 0x100e) == 0x100e; }},
    {"bool", [](uint32_t t) { return (t & 0x8003) == 0x8003; }},
    {"number", [](uint32_t t) { return (t & 0x4000) != 0; }},
    {"time", [](uint32_t t) { return (t & 0x100d) == 0x100d; }},
};

Variant Make(VariantType tag) {
  Variant v;
  switch (tag) {
    case vt::VT_NULL: v.SetNull(); break;
    case vt::VT_INT8: v = static_cast<signed char>(-1); break;
    case vt::VT_UINT8: v = static_cast<unsigned char>(1); break;
    case vt::VT_INT16: v = static_cast<short>(-1); break;
    case vt::VT_UINT16: v = static_cast<unsigned short>(1); break;
    case vt::VT_INT32: v = -1; break;
    case vt::VT_UINT32: v = 1u; break;
    case vt::VT_INT64: v = -1L; break;
    case vt::VT_UINT64: v = 1UL; break;
    case vt::VT_DOUBLE: v = 0.5; break;
    case vt::VT_TIME: v = timeval{1, 2}; break;
    case vt::VT_STRING: v = "s"; break;
    case vt::VT_OBJECT: v.IsArray(false); break;
    case vt::VT_ARRAY: v.IsArray(true); break;
    case vt::VT_BOOL: v = true; break;
    default: break;
  }
  return v;
}

}  // namespace

TEST(VariantTags, EachTagPassesExactlyItsKindTests) {
  struct Row {
    VariantType tag;
    char const* kinds;  // the kinds whose test the tag passes
  } const rows[] = {
      {vt::VT_EMPTY, ""},          {vt::VT_NULL, ""},
      {vt::VT_INT8, "number"},     {vt::VT_UINT8, "number"},
      {vt::VT_INT16, "number"},    {vt::VT_UINT16, "number"},
      {vt::VT_INT32, "number"},    {vt::VT_UINT32, "number"},
      {vt::VT_INT64, "number"},    {vt::VT_UINT64, "number"},
      {vt::VT_DOUBLE, "number"},   {vt::VT_TIME, "time"},
      {vt::VT_STRING, "string"},   {vt::VT_OBJECT, "object"},
      {vt::VT_ARRAY, "object"},    {vt::VT_BOOL, "bool"},
  };
  for (auto const& row : rows) {
    Variant v = Make(row.tag);
    ASSERT_EQ(v.Type(), row.tag);
    ASSERT_EQ(static_cast<VariantType>(v), row.tag);
    for (auto const& kind : kKinds) {
      bool expected = std::string(row.kinds) == kind.name;
      EXPECT_EQ(kind.passes(v.Type()), expected) << std::hex << row.tag << " " << kind.name;
    }
  }
}

TEST(VariantTags, TagPassesFollowsTheMasks) {
  EXPECT_TRUE(TagPasses(vt::VT_ARRAY, vt::VT_OBJECT));
  EXPECT_TRUE(TagPasses(vt::VT_OBJECT, vt::VT_OBJECT));
  EXPECT_FALSE(TagPasses(vt::VT_STRING, vt::VT_OBJECT));
  EXPECT_FALSE(TagPasses(vt::VT_OBJECT, vt::VT_ARRAY));
  EXPECT_TRUE(TagPasses(vt::VT_UINT64, vt::VT_INT32));  // any number tag means "a number"
  EXPECT_TRUE(TagPasses(vt::VT_DOUBLE, vt::VT_UINT8));
  EXPECT_FALSE(TagPasses(vt::VT_BOOL, vt::VT_INT32));
  EXPECT_FALSE(TagPasses(vt::VT_TIME, vt::VT_STRING));
  EXPECT_FALSE(TagPasses(vt::VT_STRING, vt::VT_TIME));
  EXPECT_TRUE(TagPasses(vt::VT_EMPTY, vt::VT_EMPTY));
  EXPECT_FALSE(TagPasses(vt::VT_NULL, vt::VT_EMPTY));
  EXPECT_TRUE(TagPasses(vt::VT_NULL, vt::VT_NULL));
  EXPECT_TRUE(TagPasses(vt::VT_EMPTY, vt::VT_ANY));
}

TEST(VariantAssign, EachNativeTypeGetsItsTag) {
  Variant v;
  EXPECT_TRUE(v.IsEmpty());
  v = true;                                   EXPECT_EQ(v.Type(), vt::VT_BOOL);
  v = 1;                                      EXPECT_EQ(v.Type(), vt::VT_INT32);
  v = 1L;                                     EXPECT_EQ(v.Type(), vt::VT_INT64);
  v = 1LL;                                    EXPECT_EQ(v.Type(), vt::VT_INT64);
  v = static_cast<unsigned char>(1);          EXPECT_EQ(v.Type(), vt::VT_UINT8);
  v = static_cast<signed char>(1);            EXPECT_EQ(v.Type(), vt::VT_INT8);
  v = static_cast<short>(1);                  EXPECT_EQ(v.Type(), vt::VT_INT16);
  v = static_cast<unsigned short>(1);         EXPECT_EQ(v.Type(), vt::VT_UINT16);
  v = 1u;                                     EXPECT_EQ(v.Type(), vt::VT_UINT32);
  v = 1UL;                                    EXPECT_EQ(v.Type(), vt::VT_UINT64);
  v = 1ULL;                                   EXPECT_EQ(v.Type(), vt::VT_UINT64);
  v = 1.5;                                    EXPECT_EQ(v.Type(), vt::VT_DOUBLE);
  v = "text";                                 EXPECT_EQ(v.Type(), vt::VT_STRING);
  v = std::string("text");                    EXPECT_EQ(v.Type(), vt::VT_STRING);
  v = timeval{5, 6};                          EXPECT_EQ(v.Type(), vt::VT_TIME);
  EXPECT_EQ(Variant("x").Type(), vt::VT_STRING);
  EXPECT_EQ(Variant(std::string("x")).Type(), vt::VT_STRING);
  EXPECT_STREQ(static_cast<char const*>(Variant(static_cast<char const*>(nullptr))), "");
}

TEST(VariantRead, NumbersConvertBetweenWidths) {
  Variant v;
  v = 300;
  EXPECT_EQ(static_cast<int>(v), 300);
  EXPECT_EQ(static_cast<long>(v), 300);
  EXPECT_EQ(static_cast<unsigned char>(v), 44);  // 300 mod 256
  EXPECT_EQ(static_cast<signed char>(v), 44);
  v = -1;
  EXPECT_EQ(static_cast<unsigned int>(v), UINT_MAX);
  EXPECT_EQ(static_cast<unsigned long>(v), ULONG_MAX);
  EXPECT_EQ(static_cast<unsigned short>(v), 0xFFFF);
  v = ULONG_MAX;
  EXPECT_EQ(static_cast<long>(v), -1);
  EXPECT_EQ(static_cast<unsigned long>(v), ULONG_MAX);
  v = static_cast<unsigned char>(200);
  EXPECT_EQ(static_cast<int>(v), 200);
  EXPECT_DOUBLE_EQ(v.AsDouble(), 200.0);
  v = static_cast<signed char>(-100);
  EXPECT_EQ(static_cast<long>(v), -100);
  EXPECT_DOUBLE_EQ(v.AsDouble(), -100.0);
}

TEST(VariantRead, DoublesTruncateTowardZeroAndSaturate) {
  Variant v;
  v = 2.9;
  EXPECT_EQ(static_cast<int>(v), 2);
  v = -2.9;
  EXPECT_EQ(static_cast<int>(v), -2);
  EXPECT_EQ(static_cast<unsigned int>(v), 0u);
  v = 1e300;
  EXPECT_EQ(static_cast<int>(v), INT_MAX);
  EXPECT_EQ(static_cast<long>(v), LONG_MAX);
  EXPECT_EQ(static_cast<unsigned long>(v), ULONG_MAX);
  EXPECT_EQ(static_cast<unsigned char>(v), 255);
  v = -1e300;
  EXPECT_EQ(static_cast<int>(v), INT_MIN);
  EXPECT_EQ(static_cast<signed char>(v), -128);
  EXPECT_EQ(static_cast<unsigned short>(v), 0);
  v = std::nan("");
  EXPECT_EQ(static_cast<long>(v), 0);
  v = 9223372036854775807.0;  // 2^63 as a double
  EXPECT_EQ(static_cast<long>(v), LONG_MAX);
  EXPECT_EQ(static_cast<unsigned long>(v), 9223372036854775808UL);
}

TEST(VariantRead, BooleansReadAsZeroOrOne) {
  Variant v;
  v = true;
  EXPECT_EQ(static_cast<int>(v), 1);
  EXPECT_EQ(static_cast<unsigned char>(v), 1);
  EXPECT_DOUBLE_EQ(v.AsDouble(), 1.0);
  EXPECT_TRUE(v.AsBool());
  v = false;
  EXPECT_EQ(static_cast<long>(v), 0);
  EXPECT_FALSE(static_cast<bool>(v));
  v = 7;
  EXPECT_TRUE(static_cast<bool>(v));
  v = 0.25;
  EXPECT_TRUE(static_cast<bool>(v));
  v = 0;
  EXPECT_FALSE(static_cast<bool>(v));
}

TEST(VariantRead, OtherTypesReadAsDefaults) {
  Variant v("123");
  EXPECT_EQ(static_cast<int>(v), 0);
  EXPECT_FALSE(static_cast<bool>(v));
  EXPECT_DOUBLE_EQ(v.AsDouble(), 0.0);
  EXPECT_EQ(static_cast<timeval const&>(v).tv_sec, 0);
  v = 5;
  EXPECT_STREQ(static_cast<char const*>(v), "");
  EXPECT_EQ(static_cast<std::string const&>(v), "");
  v.IsArray(false);
  EXPECT_EQ(static_cast<long>(v), 0);
  v = timeval{10, 20};
  EXPECT_EQ(static_cast<int>(v), 0);
  EXPECT_EQ(static_cast<timeval const&>(v).tv_sec, 10);
  EXPECT_EQ(static_cast<timeval const&>(v).tv_usec, 20);
  Variant empty;
  EXPECT_STREQ(static_cast<char const*>(empty), "");
}

TEST(VariantRead, StringsKeepNulBytes) {
  std::string const text("a\0b", 3);
  Variant v(text);
  EXPECT_EQ(static_cast<std::string const&>(v).size(), 3u);
  EXPECT_EQ(static_cast<std::string const&>(v), text);
  EXPECT_STREQ(static_cast<char const*>(v), "a");
}

TEST(VariantCompare, PlainValues) {
  Variant v;
  v = true;
  EXPECT_TRUE(v == true);
  EXPECT_FALSE(v == false);
  v = 1;
  EXPECT_FALSE(v == true);  // only booleans equal a bool
  v = "on";
  EXPECT_TRUE(v == "on");
  EXPECT_FALSE(v == "On");
  EXPECT_TRUE(v != "off");
  EXPECT_FALSE(v != "on");
  v = 5;
  EXPECT_FALSE(v == "5");
  EXPECT_TRUE(v != "5");
}

TEST(VariantCompare, NumbersCompareByValueAcrossWidths) {
  Variant a, b;
  a = 5;
  b = 5UL;
  EXPECT_TRUE(a == b);
  b = 5.0;
  EXPECT_TRUE(a == b);
  b = 5.5;
  EXPECT_FALSE(a == b);
  a = -1;
  b = ULONG_MAX;
  EXPECT_FALSE(a == b);
  a = LONG_MAX;
  b = 9223372036854775807.0;  // rounds to 2^63, one above LONG_MAX
  EXPECT_FALSE(a == b);
  a = true;
  b = 1;
  EXPECT_FALSE(a == b);
}

TEST(VariantCompare, DeepAndTyped) {
  Variant a, b;
  EXPECT_TRUE(a == b);
  b.SetNull();
  EXPECT_FALSE(a == b);  // empty and null are distinct values
  a["x"][0] = "y";
  b["x"][0] = "y";
  EXPECT_TRUE(a == b);
  b["x"][1] = 1;
  EXPECT_TRUE(a != b);
  b["x"].RemoveValue("1", true);
  EXPECT_TRUE(a == b);
  b["z"] = 1;
  a["w"] = 1;
  EXPECT_FALSE(a == b);  // same sizes, different keys
  Variant t1, t2;
  t1 = timeval{1, 2};
  t2 = timeval{1, 3};
  EXPECT_FALSE(t1 == t2);
  Variant s("1");
  Variant n;
  n = 1;
  EXPECT_FALSE(s == n);
}

TEST(VariantCopy, DeepCopyIsIndependent) {
  Variant original;
  original["list"][0]["name"] = "first";
  original["count"] = 2;
  Variant copy(original);
  copy["list"][0]["name"] = "changed";
  copy["count"] = 3;
  copy["extra"] = true;
  EXPECT_EQ(static_cast<std::string const&>(original["list"][0]["name"]), "first");
  EXPECT_EQ(static_cast<int>(original["count"]), 2);
  EXPECT_EQ(original.KeysCount(), 2u);
  Variant assigned;
  assigned = original;
  EXPECT_TRUE(assigned == original);
  original["list"][0]["name"] = "again";
  EXPECT_EQ(static_cast<std::string const&>(assigned["list"][0]["name"]), "first");
}

TEST(VariantCopy, MovesLeaveTheSourceEmpty) {
  Variant source;
  source["k"] = "v";
  Variant moved(std::move(source));
  EXPECT_TRUE(source.IsEmpty());  // NOLINT: the moved-from state is part of the contract
  EXPECT_EQ(static_cast<std::string const&>(moved["k"]), "v");
  Variant target;
  target = 5;
  target = std::move(moved);
  EXPECT_TRUE(moved.IsEmpty());  // NOLINT
  EXPECT_EQ(target.Type(), vt::VT_OBJECT);
}

TEST(VariantCopy, AssigningAPartOfItselfWorks) {
  Variant v;
  v["inner"]["x"] = 1;
  v = v["inner"];
  EXPECT_EQ(static_cast<int>(v["x"]), 1);
  EXPECT_EQ(v.KeysCount(), 1u);
  Variant w;
  w["inner"]["y"] = 2;
  w = std::move(w["inner"]);
  EXPECT_EQ(static_cast<int>(w["y"]), 2);
  Variant s;
  s["text"] = "abc";
  s = static_cast<std::string const&>(s["text"]);
  EXPECT_TRUE(s == "abc");
  Variant a;
  a.PushBack(Variant("x"));
  a.PushBack(a[0]);
  EXPECT_EQ(a.KeysCount(), 2u);
  EXPECT_TRUE(a[1] == "x");
}

TEST(VariantLifecycle, FreeAndIsArray) {
  Variant v;
  v["a"] = 1;
  v.Free();
  EXPECT_TRUE(v.IsEmpty());
  EXPECT_EQ(v.KeysCount(), 0u);
  v["a"] = 1;
  v.IsArray(false);  // always a fresh, empty object
  EXPECT_EQ(v.Type(), vt::VT_OBJECT);
  EXPECT_EQ(v.KeysCount(), 0u);
  v.IsArray(true);
  EXPECT_EQ(v.Type(), vt::VT_ARRAY);
  EXPECT_EQ(v.KeysCount(), 0u);
  v = "s";
  v.IsArray(true);
  EXPECT_EQ(v.Type(), vt::VT_ARRAY);
}

TEST(VariantLifecycle, DeepNestingIsCopiedComparedAndReleasedWithoutRecursion) {
  constexpr int kDepth = 300000;  // far beyond what recursion on the stack survives
  Variant deep;
  Variant* at = &deep;
  for (int i = 0; i < kDepth; ++i) at = (i % 2) ? &(*at)[0] : &(*at)["k"];
  *at = 1;
  Variant copy(deep);
  EXPECT_TRUE(copy == deep);
  copy = Variant();
  EXPECT_TRUE(copy.IsEmpty());
  std::string json;
  ASSERT_TRUE(deep.ToJSON(json, false));
  // Every other level is {"k": ... } (6 bytes), the rest [ ... ] (2 bytes).
  EXPECT_EQ(json.size(), static_cast<std::size_t>(kDepth / 2 * (6 + 2) + 1));
  deep.Free();
  EXPECT_TRUE(deep.IsEmpty());
}

TEST(VariantToString, Scalars) {
  Variant v;
  EXPECT_EQ(v.ToString(), "");
  v.SetNull();
  EXPECT_EQ(v.ToString(), "null");
  v = true;
  EXPECT_EQ(v.ToString(), "true");
  v = -42;
  EXPECT_EQ(v.ToString(), "-42");
  v = ULONG_MAX;
  EXPECT_EQ(v.ToString(), "18446744073709551615");
  v = 0.1;
  EXPECT_EQ(v.ToString(), "0.1");
  v = 2.0;
  EXPECT_EQ(v.ToString(), "2");
  v = "plain";
  EXPECT_EQ(v.ToString(), "plain");
  v = timeval{1795302492, 123456};
  EXPECT_EQ(v.ToString(), "2026-11-21T23:08:12.123456Z");
  v.IsArray(false);
  v["a"] = 1;
  EXPECT_EQ(v.ToString(), "");
  v.IsArray(true);
  EXPECT_EQ(v.ToString(), "");
}

TEST(VariantContainer, StartsAsAnObjectAndCopiesAnyVariant) {
  BaseVariantContainer empty;
  EXPECT_EQ(empty.Type(), vt::VT_OBJECT);
  EXPECT_TRUE(empty.NormalizeFields());
  Variant source;
  source["k"] = 3;
  BaseVariantContainer copy(source);
  EXPECT_EQ(static_cast<int>(copy["k"]), 3);
  source["k"] = 4;
  EXPECT_EQ(static_cast<int>(copy["k"]), 3);
  BaseVariantContainer fromString(Variant("text"));
  EXPECT_TRUE(fromString == "text");
  fromString = source;
  EXPECT_EQ(static_cast<int>(fromString["k"]), 4);
}
