// Members, elements, key paths, removal and iteration.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvo/variant/variant.h"

using orvo::variant::Variant;
namespace vt = orvo::variant;

namespace {

std::vector<std::string> KeysOf(Variant const& v) {
  std::vector<std::string> keys;
  for (auto it = v.str_begin(); it != v.str_end(); ++it) keys.push_back(it->first);
  return keys;
}

Variant Sample() {
  Variant v;
  v["network"]["ip"] = "10.0.0.2";
  v["network"]["port"] = 80;
  v["network"]["up"] = true;
  v["network"]["dns"][0] = "1.1.1.1";
  v["network"]["dns"][1] = "8.8.8.8";
  v["setup"]["WifiSsid"] = "home";
  v["time"] = timeval{1, 0};
  return v;
}

}  // namespace

TEST(VariantMembers, KeysAreKeptInByteOrder) {
  Variant v;
  v["zeta"] = 1;
  v["Alpha"] = 2;
  v["alpha"] = 3;
  v["_x"] = 4;
  v["10"] = 5;
  v["9"] = 6;
  EXPECT_EQ(KeysOf(v), (std::vector<std::string>{"10", "9", "Alpha", "_x", "alpha", "zeta"}));
  std::string json;
  ASSERT_TRUE(v.ToJSON(json, false));
  EXPECT_EQ(json, R"({"10":5,"9":6,"Alpha":2,"_x":4,"alpha":3,"zeta":1})");
}

TEST(VariantMembers, MissingKeyIsCreatedEmptyAndNonObjectBecomesObject) {
  Variant v;
  v = 5;
  Variant& member = v["new"];
  EXPECT_TRUE(member.IsEmpty());
  EXPECT_EQ(v.Type(), vt::VT_OBJECT);
  EXPECT_EQ(v.KeysCount(), 1u);
  v[std::string("other")] = "x";
  EXPECT_TRUE(v["other"] == "x");
  EXPECT_EQ(v.KeysCount(), 2u);
  v[static_cast<char const*>(nullptr)] = 1;  // a null key is the empty key
  EXPECT_EQ(static_cast<int>(v[""]), 1);
}

TEST(VariantElements, NonConstIndexGrowsAnArray) {
  Variant v;
  v = "not an array";
  v[2] = "c";
  EXPECT_EQ(v.Type(), vt::VT_ARRAY);
  EXPECT_EQ(v.KeysCount(), 3u);
  EXPECT_TRUE(v[0].IsEmpty());
  EXPECT_TRUE(v[2] == "c");
  v[0L] = 1;
  std::size_t index = 1;
  v[index] = 2;
  EXPECT_EQ(static_cast<int>(v.Elements()[0]), 1);
  EXPECT_EQ(static_cast<int>(v.Elements()[1]), 2);
}

TEST(VariantElements, ConstIndexOutOfRangeIsASharedEmptyValue) {
  Variant v;
  v.PushBack(Variant("a"));
  Variant const& c = v;
  EXPECT_TRUE(c[0] == "a");
  EXPECT_TRUE(c[1].IsEmpty());
  EXPECT_TRUE(c[-1].IsEmpty());
  EXPECT_EQ(&c[1], &c[7]);
  Variant const object = Sample();
  EXPECT_TRUE(object[0].IsEmpty());
  EXPECT_EQ(v.KeysCount(), 1u);
}

TEST(VariantElements, ImpossibleIndexesWriteNowhere) {
  Variant v;
  v.IsArray(true);
  v[-1] = 5;
  v[vt::kMaxArrayGrowIndex] = 5;
  EXPECT_EQ(v.KeysCount(), 0u);
  EXPECT_TRUE(v[-1].IsEmpty());  // the previous write was discarded
}

TEST(VariantElements, PushBackAppendsAndElementsLists) {
  Variant v;
  v["k"] = 1;
  Variant& added = v.PushBack(Variant("x"));  // an object becomes an array
  added = "y";
  v.PushBack(Variant());
  EXPECT_EQ(v.Type(), vt::VT_ARRAY);
  ASSERT_EQ(v.Elements().size(), 2u);
  EXPECT_TRUE(v.Elements()[0] == "y");
  Variant scalar("s");
  EXPECT_TRUE(scalar.Elements().empty());
}

TEST(VariantCounts, KeysAndStringKeys) {
  Variant v = Sample();
  EXPECT_EQ(v.KeysCount(), 3u);
  EXPECT_EQ(v.StringKeysCount(), 3u);
  EXPECT_EQ(v["network"]["dns"].KeysCount(), 2u);
  EXPECT_EQ(v["network"]["dns"].StringKeysCount(), 0u);
  EXPECT_EQ(v["time"].KeysCount(), 0u);
  EXPECT_EQ(Variant("abc").KeysCount(), 0u);
}

TEST(VariantIteration, MembersCanBeChangedAndNonObjectsGiveAnEmptyRange) {
  Variant v;
  v["a"] = 1;
  v["b"] = 2;
  for (auto it = v.str_begin(); it != v.str_end(); ++it) it->second = static_cast<int>(it->second) * 10;
  EXPECT_EQ(static_cast<int>(v["a"]), 10);
  EXPECT_EQ(static_cast<int>(v["b"]), 20);
  Variant array;
  array.IsArray(true);
  array.PushBack(Variant("x"));
  EXPECT_TRUE(array.str_begin() == array.str_end());
  Variant const scalar("s");
  EXPECT_TRUE(scalar.str_begin() == scalar.str_end());
  EXPECT_TRUE(KeysOf(Variant()).empty());
}

TEST(VariantKeyChain, PathsAndTypes) {
  Variant v = Sample();
  Variant* ip = v.GetKeyChain(vt::VT_STRING, "network/ip", false);
  ASSERT_NE(ip, nullptr);
  EXPECT_TRUE(*ip == "10.0.0.2");
  EXPECT_EQ(v.GetKeyChain(vt::VT_INT32, "network/ip", false), nullptr);
  EXPECT_NE(v.GetKeyChain(vt::VT_UINT64, "network/port", false), nullptr);  // any number
  EXPECT_NE(v.GetKeyChain(vt::VT_BOOL, "network/up", false), nullptr);
  EXPECT_EQ(v.GetKeyChain(vt::VT_BOOL, "network/port", false), nullptr);
  EXPECT_NE(v.GetKeyChain(vt::VT_OBJECT, "network", false), nullptr);
  EXPECT_NE(v.GetKeyChain(vt::VT_OBJECT, "network/dns", false), nullptr);  // arrays pass
  EXPECT_EQ(v.GetKeyChain(vt::VT_ARRAY, "network", false), nullptr);
  EXPECT_NE(v.GetKeyChain(vt::VT_TIME, "time", false), nullptr);
  EXPECT_EQ(v.GetKeyChain(vt::VT_STRING, "time", false), nullptr);
  EXPECT_NE(v.GetKeyChain(vt::VT_ANY, "network/port", false), nullptr);
  EXPECT_EQ(v.GetKeyChain(vt::VT_ANY, "network/missing", false), nullptr);
  EXPECT_EQ(v.GetKeyChain(vt::VT_ANY, "network/ip/deeper", false), nullptr);
  EXPECT_EQ(v.KeysCount(), 3u);  // lookups never create members
  EXPECT_EQ(v["network"].KeysCount(), 4u);
}

TEST(VariantKeyChain, ArrayStepsEmptyStepsAndStringPaths) {
  Variant v = Sample();
  Variant* second = v.GetKeyChain(vt::VT_STRING, std::string("network/dns/1"), false);
  ASSERT_NE(second, nullptr);
  EXPECT_TRUE(*second == "8.8.8.8");
  EXPECT_EQ(v.GetKeyChain(vt::VT_ANY, "network/dns/2", false), nullptr);
  EXPECT_EQ(v.GetKeyChain(vt::VT_ANY, "network/dns/x", false), nullptr);
  EXPECT_EQ(v.GetKeyChain(vt::VT_ANY, "network/dns/-1", false), nullptr);
  EXPECT_NE(v.GetKeyChain(vt::VT_STRING, "/network//ip/", false), nullptr);
  EXPECT_EQ(v.GetKeyChain(vt::VT_STRING, "/network//ip/", false),
            v.GetKeyChain(vt::VT_STRING, "network/ip", false));
  EXPECT_EQ(v.GetKeyChain(vt::VT_OBJECT, "", false), &v);
  EXPECT_EQ(v.GetKeyChain(vt::VT_OBJECT, static_cast<char const*>(nullptr), false), &v);
  second->operator=("9.9.9.9");  // the pointer is into the value itself
  EXPECT_TRUE(v["network"]["dns"][1] == "9.9.9.9");
}

TEST(VariantKeyChain, IgnoreCase) {
  Variant v = Sample();
  EXPECT_EQ(v.GetKeyChain(vt::VT_STRING, "setup/wifissid", false), nullptr);
  Variant* ssid = v.GetKeyChain(vt::VT_STRING, "SETUP/wifissid", true);
  ASSERT_NE(ssid, nullptr);
  EXPECT_TRUE(*ssid == "home");
  EXPECT_EQ(v.GetKeyChain(vt::VT_STRING, "setup/wifissi", true), nullptr);
  // Several keys match: the first in byte order wins.
  v["setup"]["WIFISSID"] = "upper";
  v["setup"]["wifissid"] = "lower";
  EXPECT_TRUE(*v.GetKeyChain(vt::VT_STRING, "setup/wifiSsid", true) == "upper");
  EXPECT_TRUE(*v.GetKeyChain(vt::VT_STRING, "setup/wifissid", false) == "lower");
}

TEST(VariantKeyChain, ConstLookups) {
  Variant const v = Sample();
  Variant const* port = v.GetKeyChain(vt::VT_INT32, "network/port", false);
  ASSERT_NE(port, nullptr);
  EXPECT_EQ(static_cast<int>(*port), 80);
  EXPECT_NE(v.GetKeyChain(vt::VT_STRING, std::string("NETWORK/IP"), true), nullptr);
  EXPECT_EQ(v.GetKeyChain(vt::VT_STRING, std::string("NETWORK/IP"), false), nullptr);
}

TEST(VariantRemove, KeysAndPaths) {
  Variant v = Sample();
  EXPECT_TRUE(v.RemoveValue("time", false));
  EXPECT_FALSE(v.RemoveValue("time", false));
  EXPECT_EQ(v.KeysCount(), 2u);
  EXPECT_FALSE(v.RemoveValue("network/ip", false));  // without isPath the "/" is part of the key
  EXPECT_TRUE(v.RemoveValue("network/ip", true));
  EXPECT_EQ(v.GetKeyChain(vt::VT_ANY, "network/ip", false), nullptr);
  EXPECT_EQ(v["network"].KeysCount(), 3u);
  EXPECT_TRUE(v.RemoveValue("network/dns/0", true));
  EXPECT_TRUE(v["network"]["dns"][0] == "8.8.8.8");
  EXPECT_EQ(v["network"]["dns"].KeysCount(), 1u);
  EXPECT_FALSE(v.RemoveValue("network/dns/5", true));
  EXPECT_FALSE(v.RemoveValue("missing/ip", true));
  EXPECT_FALSE(v.RemoveValue("", true));
  EXPECT_FALSE(Variant("s").RemoveValue("s", false));
  EXPECT_TRUE(v.RemoveValue("setup", true));
  EXPECT_EQ(v.KeysCount(), 1u);
}

TEST(VariantTypedReads, StringAtGivesTheStringOrTheFallback) {
  Variant const v = Sample();
  EXPECT_EQ(v.StringAt("network/ip"), "10.0.0.2");
  EXPECT_EQ(v.StringAt("network/dns/1"), "8.8.8.8");
  EXPECT_EQ(v.StringAt("network/port"), "");              // a number is not a string
  EXPECT_EQ(v.StringAt("network/missing", "none"), "none");
  EXPECT_EQ(v.StringAt("setup/wifissid", "x"), "x");       // exact case only
}

TEST(VariantTypedReads, IntAtReadsAnyNumberAndNothingElse) {
  Variant v = Sample();
  v["big"] = 1.9e3;
  EXPECT_EQ(v.IntAt("network/port"), 80);
  EXPECT_EQ(v.IntAt("big"), 1900);
  EXPECT_EQ(v.IntAt("network/ip", -1), -1);
  EXPECT_EQ(v.IntAt("network/up", -1), -1);                // a boolean is not a number
  EXPECT_EQ(v.IntAt("nowhere", 7), 7);
}

TEST(VariantTypedReads, BoolAtReadsOnlyBooleans) {
  Variant const v = Sample();
  EXPECT_TRUE(v.BoolAt("network/up"));
  EXPECT_TRUE(v.BoolAt("network/port", true));             // a number is not a boolean
  EXPECT_FALSE(v.BoolAt("network/ip"));
}

TEST(VariantTypedReads, HasTellsTypeAndPresence) {
  Variant const v = Sample();
  EXPECT_TRUE(v.Has(vt::VT_OBJECT, "network"));
  EXPECT_TRUE(v.Has(vt::VT_ANY, "time"));
  EXPECT_TRUE(v.Has(vt::VT_INT64, "network/port"));
  EXPECT_FALSE(v.Has(vt::VT_STRING, "network/port"));
  EXPECT_FALSE(v.Has(vt::VT_ANY, "network/gone"));
}
