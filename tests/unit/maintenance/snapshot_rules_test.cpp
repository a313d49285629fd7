// The snapshot module's content-type rule and its regular-expression match.
#include <gtest/gtest.h>

#include "endpoints/snapshot.h"

using orvo::rest::snapshot::ContentTypeOf;
using orvo::rest::snapshot::RegexMatch;

TEST(SnapshotContentType, JpegExtensionsInAnyCase) {
  EXPECT_EQ(ContentTypeOf("/tmp/snap.jpeg"), "image/jpeg");
  EXPECT_EQ(ContentTypeOf("/tmp/snap.jpg"), "image/jpeg");
  EXPECT_EQ(ContentTypeOf("/tmp/SNAP.JPG"), "image/jpeg");
  EXPECT_EQ(ContentTypeOf("/tmp/snap.JpEg"), "image/jpeg");
}

TEST(SnapshotContentType, EverythingElseIsOctetStream) {
  EXPECT_EQ(ContentTypeOf("/tmp/snap.png"), "application/octet-stream");
  EXPECT_EQ(ContentTypeOf("/tmp/snap"), "application/octet-stream");
  EXPECT_EQ(ContentTypeOf("/tmp/snap."), "application/octet-stream");
  EXPECT_EQ(ContentTypeOf("/tmp/snap.jpeg.bak"), "application/octet-stream");
  EXPECT_EQ(ContentTypeOf("/tmp/jpeg"), "application/octet-stream");
  EXPECT_EQ(ContentTypeOf(""), "application/octet-stream");
}

TEST(SnapshotRegexMatch, ExtendedSyntaxWithoutSubmatches) {
  EXPECT_TRUE(RegexMatch("snap.jpeg", "^[a-z]+\\.(jpe?g)$"));
  EXPECT_TRUE(RegexMatch("snap.jpg", "^[a-z]+\\.(jpe?g)$"));
  EXPECT_FALSE(RegexMatch("snap.png", "^[a-z]+\\.(jpe?g)$"));
  EXPECT_TRUE(RegexMatch("a+b", "a\\+b"));
  EXPECT_TRUE(RegexMatch("", ""));
}

TEST(SnapshotRegexMatch, BadPatternMatchesNothing) {
  EXPECT_FALSE(RegexMatch("anything", "("));
  EXPECT_FALSE(RegexMatch("[", "["));
}
