// The wireless scan's body: the daemon's reply as it serialised, or an empty
// list when that is nothing.
#include <gtest/gtest.h>

#include "rest_ap.h"

using orvo::rest::ap::ReplyBody;

TEST(ApReply, EmptySerialisationIsSentAsAnEmptyList) { EXPECT_EQ(ReplyBody(""), "[]"); }

TEST(ApReply, AnyOtherSerialisationIsSentUnchanged) {
  EXPECT_EQ(ReplyBody(R"({"accessPoints":[]})"), R"({"accessPoints":[]})");
  EXPECT_EQ(ReplyBody("null"), "null");
  EXPECT_EQ(ReplyBody("[]"), "[]");
}
