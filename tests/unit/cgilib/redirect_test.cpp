// cgiRedirect writes a 302 answer, and nothing for a URL that could inject
// headers.
#include <gtest/gtest.h>

#include <string>

#include "cgi.h"

namespace {

std::string redirectOutput(char const* url) {
  ::testing::internal::CaptureStdout();
  cgiRedirect(url);
  return ::testing::internal::GetCapturedStdout();
}

TEST(CgiRedirect, WritesStatusAndLocation) {
  EXPECT_EQ(redirectOutput("/index.html?x=1"), "Status: 302\r\nLocation: /index.html?x=1\r\n\r\n");
  EXPECT_EQ(redirectOutput("https://cam.local/a b"), "Status: 302\r\nLocation: https://cam.local/a b\r\n\r\n");
}

TEST(CgiRedirect, RefusesControlBytesAndEmptyUrls) {
  for (char const* url : std::initializer_list<char const*>{"/a\r\nSet-Cookie: x=1", "/a\nb", "/a\rb", "/a\tb", "/a\x01", "/a\x7f", "", nullptr}) {
    EXPECT_EQ(redirectOutput(url), "") << (url ? url : "null");
  }
}

}  // namespace
