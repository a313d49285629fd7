// The simulated streamer's still image decodes as a JPEG of the announced
// size, and successive pictures differ (the frame counter).
#include <gtest/gtest.h>

#include "jpeg_check.h"
#include "snapshot_writer.h"

using orvotest::decodeJpeg;

TEST(TestPicture, DecodesAtItsSize) {
  std::string const bytes = orvo::sim::encodeTestPicture(42);
  ASSERT_GT(bytes.size(), 4u);
  EXPECT_EQ(bytes.substr(0, 2), "\xff\xd8");
  EXPECT_EQ(bytes.substr(bytes.size() - 2), "\xff\xd9");
  orvotest::DecodedJpeg picture = decodeJpeg(bytes);
  EXPECT_TRUE(picture.ok);
  EXPECT_EQ(picture.width, static_cast<unsigned>(orvo::sim::kSnapshotWidth));
  EXPECT_EQ(picture.height, static_cast<unsigned>(orvo::sim::kSnapshotHeight));
  EXPECT_EQ(picture.rows, picture.height);
}

TEST(TestPicture, CutPictureDoesNotDecode) {
  std::string const bytes = orvo::sim::encodeTestPicture(3);
  EXPECT_FALSE(decodeJpeg(bytes.substr(0, bytes.size() / 2)).ok);
  EXPECT_FALSE(decodeJpeg("").ok);
}

TEST(TestPicture, EachFrameIsAnotherPicture) {
  EXPECT_NE(orvo::sim::encodeTestPicture(1), orvo::sim::encodeTestPicture(2));
  EXPECT_EQ(orvo::sim::encodeTestPicture(7), orvo::sim::encodeTestPicture(7));
  // Only the last eight digits are drawn.
  EXPECT_EQ(orvo::sim::encodeTestPicture(5), orvo::sim::encodeTestPicture(100000005));
}
