// The public JSON parser conformance suite (JSONTestSuite), kept beside the
// repository in ../shared/testdata/json-conformance.
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "orvo/variant/variant.h"

using orvo::variant::Variant;

namespace {

std::string const kSuite = ORVO_SOURCE_DIR "/../shared/testdata/json-conformance";

// Names in `folder` starting with `prefix`, sorted; empty when the folder is missing.
std::vector<std::string> FilesWithPrefix(std::string const& folder, std::string const& prefix) {
  std::vector<std::string> names;
  DIR* dir = ::opendir(folder.c_str());
  while (dirent* entry = dir ? ::readdir(dir) : nullptr) {
    std::string name = entry->d_name;
    if (name.compare(0, prefix.size(), prefix) == 0 && name.size() > 5 &&
        name.compare(name.size() - 5, 5, ".json") == 0) {
      names.push_back(name);
    }
  }
  if (dir) ::closedir(dir);
  std::sort(names.begin(), names.end());
  return names;
}

std::string Read(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> SuiteFiles(char const* folder, char const* prefix) {
  std::vector<std::string> names = FilesWithPrefix(kSuite + "/" + folder, prefix);
  EXPECT_FALSE(names.empty()) << "JSON conformance suite missing: no " << prefix
                              << "*.json files in " << kSuite << "/" << folder;
  return names;
}

}  // namespace

TEST(JsonConformance, EveryValidTextParses) {
  for (std::string const& name : SuiteFiles("test_parsing", "y_")) {
    Variant v;
    EXPECT_TRUE(v.FromJSON(Read(kSuite + "/test_parsing/" + name))) << name;
  }
}

TEST(JsonConformance, EveryInvalidTextIsRefused) {
  for (std::string const& name : SuiteFiles("test_parsing", "n_")) {
    Variant v;
    EXPECT_FALSE(v.FromJSON(Read(kSuite + "/test_parsing/" + name))) << name;
    EXPECT_TRUE(v.IsEmpty()) << name;
  }
}

TEST(JsonConformance, ImplementationDefinedTextsNeitherCrashNorLeaveHalfValues) {
  std::size_t accepted = 0;
  for (std::string const& name : SuiteFiles("test_parsing", "i_")) {
    Variant v;
    if (v.FromJSON(Read(kSuite + "/test_parsing/" + name))) {
      ++accepted;
      std::string out;
      EXPECT_TRUE(v.ToJSON(out, false)) << name;
    } else {
      EXPECT_TRUE(v.IsEmpty()) << name;
    }
  }
  EXPECT_GT(accepted, 0u);  // a sanity check that the files were read at all
}

// Round trip: what parses is serialised (compact and styled), the output
// parses again to an equal value, and serialising that gives the same text.
// Texts that are not valid UTF-8 (raw or through escaped lone surrogates)
// must be refused instead.
TEST(JsonConformance, TransformTextsSurviveARoundTrip) {
  struct Expectation {
    char const* name;
    char const* compact;  // nullptr: the text is refused
  } const expected[] = {
      {"number_-9223372036854775808.json", "[-9223372036854775808]"},
      {"number_-9223372036854775809.json", "[-9223372036854775808.0]"},  // a double
      {"number_1.0.json", "[1.0]"},
      {"number_1.000000000000000005.json", "[1.0]"},
      {"number_1000000000000000.json", "[1000000000000000]"},
      {"number_10000000000000000999.json", "[10000000000000000999]"},  // fits uint64
      {"number_1e-999.json", "[0.0]"},
      {"number_1e6.json", "[1e+06]"},
      {"number_9223372036854775807.json", "[9223372036854775807]"},
      {"number_9223372036854775808.json", "[9223372036854775808]"},
      // Keys are bytes, never normalised, and sorted as bytes.
      {"object_key_nfc_nfd.json", "{\"e\xCC\x81\":\"NFD\",\"\xC3\xA9\":\"NFC\"}"},
      {"object_key_nfd_nfc.json", "{\"e\xCC\x81\":\"NFD\",\"\xC3\xA9\":\"NFC\"}"},
      {"object_same_key_different_values.json", "{\"a\":2}"},
      {"object_same_key_same_value.json", "{\"a\":1}"},
      {"object_same_key_unclear_values.json", "{\"a\":0}"},  // -0 reads as the integer 0
      {"string_1_escaped_invalid_codepoint.json", nullptr},
      {"string_1_invalid_codepoint.json", nullptr},
      {"string_2_escaped_invalid_codepoints.json", nullptr},
      {"string_2_invalid_codepoints.json", nullptr},
      {"string_3_escaped_invalid_codepoints.json", nullptr},
      {"string_3_invalid_codepoints.json", nullptr},
      {"string_with_escaped_NULL.json", "[\"A\\u0000B\"]"},
  };
  std::vector<std::string> const names = SuiteFiles("test_transform", "");
  ASSERT_EQ(names.size(), sizeof expected / sizeof expected[0])
      << "the suite's transform folder changed; review the expectations";
  for (auto const& e : expected) {
    std::string const text = Read(kSuite + "/test_transform/" + e.name);
    ASSERT_FALSE(text.empty()) << e.name;
    Variant first;
    if (e.compact == nullptr) {
      EXPECT_FALSE(first.FromJSON(text)) << e.name;
      continue;
    }
    ASSERT_TRUE(first.FromJSON(text)) << e.name;
    std::string compact;
    ASSERT_TRUE(first.ToJSON(compact, false));
    EXPECT_EQ(compact, e.compact) << e.name;
    for (bool styled : {false, true}) {
      std::string out;
      ASSERT_TRUE(first.ToJSON(out, styled));
      Variant second;
      ASSERT_TRUE(second.FromJSON(out)) << e.name << ": " << out;
      EXPECT_TRUE(second == first) << e.name;
      std::string again;
      ASSERT_TRUE(second.ToJSON(again, styled));
      EXPECT_EQ(again, out) << e.name;
    }
  }
}
