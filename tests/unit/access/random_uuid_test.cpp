// Random identifiers and the UUID syntax check.
#include <gtest/gtest.h>

#include <set>

#include "orvo/utils/random.h"
#include "orvo/utils/uuid.h"

namespace {

using namespace orvo::utils;

TEST(RandomString, LettersAndDigitsOfTheAskedLength) {
  std::string s = randomAlphaNumericString("", 32);
  ASSERT_EQ(s.size(), 32u);
  for (char c : s) EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(c))) << c;
}

TEST(RandomString, DrawsFromTheWholeAlphabetAndRepeatsNothing) {
  std::set<std::string> seen;
  std::set<char> chars;
  for (int i = 0; i < 200; ++i) {
    std::string s = randomAlphaNumericString("", 32);
    seen.insert(s);
    chars.insert(s.begin(), s.end());
  }
  EXPECT_EQ(seen.size(), 200u);
  // 6400 draws from 62 characters: every one appears.
  EXPECT_EQ(chars.size(), 62u);
}

TEST(RandomString, HonoursAGivenAlphabetAndLimits) {
  std::string s = randomAlphaNumericString("ab", 1000);
  ASSERT_EQ(s.size(), 1000u);
  EXPECT_EQ(s.find_first_not_of("ab"), std::string::npos);
  EXPECT_NE(s.find('a'), std::string::npos);
  EXPECT_NE(s.find('b'), std::string::npos);
  EXPECT_EQ(randomAlphaNumericString("", 0), "");
  EXPECT_EQ(randomAlphaNumericString("", kMaxRandomStringLength + 1), "");
  EXPECT_EQ(randomAlphaNumericString("", kMaxRandomStringLength).size(), kMaxRandomStringLength);
}

TEST(Uuid, StrictFormIsHyphenatedHex) {
  EXPECT_TRUE(uuid_valid("123e4567-e89b-12d3-a456-426614174000", true));
  EXPECT_TRUE(uuid_valid("123E4567-E89B-12D3-A456-426614174000", true));
  EXPECT_FALSE(uuid_valid("123e4567e89b12d3a456426614174000", true));
  EXPECT_FALSE(uuid_valid("{123e4567-e89b-12d3-a456-426614174000}", true));
  EXPECT_FALSE(uuid_valid("123e4567-e89b-12d3-a456-42661417400g", true));
  EXPECT_FALSE(uuid_valid("123e4567-e89b-12d3-a456-4266141740000", true));
  EXPECT_FALSE(uuid_valid("123e4567-e89b12d3-a456-426614174000-", true));
  EXPECT_FALSE(uuid_valid("", true));
}

TEST(Uuid, LooseFormAlsoTakesBareDigitsAndBraces) {
  EXPECT_TRUE(uuid_valid("123e4567e89b12d3a456426614174000", false));
  EXPECT_TRUE(uuid_valid("{123e4567-e89b-12d3-a456-426614174000}", false));
  EXPECT_TRUE(uuid_valid("123e4567-e89b-12d3-a456-426614174000", false));
  EXPECT_FALSE(uuid_valid("{123e4567e89b12d3a45642661417400}", false));
  EXPECT_FALSE(uuid_valid("not-a-uuid", false));
}

}  // namespace
