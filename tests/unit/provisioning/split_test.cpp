#include <gtest/gtest.h>

#include "orvo/utils/strings.h"

using orvo::utils::split;
using Pieces = std::vector<std::string>;

TEST(Split, PiecesBetweenDelimiters) {
  EXPECT_EQ(split("10.0.0.1 10.0.0.2", " "), (Pieces{"10.0.0.1", "10.0.0.2"}));
  EXPECT_EQ(split("10.0.0.1", " "), (Pieces{"10.0.0.1"}));
  EXPECT_EQ(split("a/b/c", "/"), (Pieces{"a", "b", "c"}));
  EXPECT_EQ(split("a::b", "::"), (Pieces{"a", "b"}));
}

TEST(Split, EmptyPiecesAreKept) {
  EXPECT_EQ(split("a  b", " "), (Pieces{"a", "", "b"}));
  EXPECT_EQ(split(" a ", " "), (Pieces{"", "a", ""}));
  EXPECT_EQ(split(" ", " "), (Pieces{"", ""}));
}

TEST(Split, EmptyTextOrDelimiter) {
  EXPECT_EQ(split("", " "), Pieces{""});
  EXPECT_EQ(split("a b", ""), (Pieces{"a b"}));
}
