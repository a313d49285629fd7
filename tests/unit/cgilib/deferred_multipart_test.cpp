// A multipart body left on the input by cgiInit (cgiDeferMultipart) and read
// only when cgiReadMultipart asks: nothing is stored before, the same
// variables and uploads after, and a refusal still leaves no file.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "cgilib_test_support.h"

using namespace cgilib_test;

namespace {

constexpr char kType[] = "multipart/form-data; boundary=deferB";

class DeferredMultipart : public ::testing::Test {
 protected:
  void SetUp() override { cgiDeferMultipart(1); }
  void TearDown() override {
    cgiDeferMultipart(0);
    EXPECT_TRUE(dir.entries().empty());
  }
  // cgiInitFrom on a descriptor that stays open for the later read.
  s_cgi* init(std::string const& body, char const* type = kType) {
    cgiSetTempDir(dir.path().c_str());
    fd = bodyFd(body);
    std::string const length = std::to_string(body.size());
    return cgiInitFrom("POST", type, length.c_str(), nullptr, fd);
  }
  void TearDownFd() { ::close(fd); }

  TempDir dir;
  int fd = -1;
};

TEST_F(DeferredMultipart, NothingIsReadUntilAsked) {
  std::string body =
      MultipartBody("deferB").text("a", "1").file("fw", "x.bin", "", "IMAGE").close();
  s_cgi* cgi = init(body);
  ASSERT_NE(cgi, nullptr) << cgiErrorText(cgiLastError());
  EXPECT_EQ(cgiGetFiles(cgi), nullptr);
  EXPECT_EQ(cgiGetVariables(cgi), nullptr);
  EXPECT_TRUE(dir.entries().empty());
  EXPECT_EQ(::lseek(fd, 0, SEEK_CUR), 0) << "the body was read";

  EXPECT_EQ(cgiReadMultipart(cgi), CGI_OK);
  EXPECT_STREQ(cgiGetValue(cgi, "a"), "1");
  s_file* file = cgiGetFile(cgi, "fw");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(readFile(file->tmpfile), "IMAGE");
  EXPECT_EQ(cgiReadMultipart(cgi), CGI_OK);  // once: a second call reads nothing more
  EXPECT_EQ(dir.entries().size(), 1u);
  cgiFree(cgi);
  TearDownFd();
}

TEST_F(DeferredMultipart, AnUnreadBodyLeavesNothing) {
  s_cgi* cgi =
      init(MultipartBody("deferB").file("fw", "x.bin", "", std::string(200000, 'x')).close());
  ASSERT_NE(cgi, nullptr);
  cgiFree(cgi);
  EXPECT_EQ(::lseek(fd, 0, SEEK_CUR), 0);
  TearDownFd();
}

TEST_F(DeferredMultipart, LimitsAndBoundaryAreCheckedAtInit) {
  cgiSetTempDir(dir.path().c_str());
  int const input = bodyFd("x");
  std::string const tooLong = std::to_string(CGI_MAX_MULTIPART_BODY + 1);
  EXPECT_EQ(cgiInitFrom("POST", kType, tooLong.c_str(), nullptr, input), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_TOO_LARGE);
  EXPECT_EQ(cgiInitFrom("POST", "multipart/form-data", "1", nullptr, input), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_BOUNDARY);
  ::close(input);
}

TEST_F(DeferredMultipart, ARefusedBodyLeavesNoUploadAndNoVariable) {
  std::string body = MultipartBody("deferB").text("a", "1").file("fw", "x.bin", "", "IMAGE").open();
  s_cgi* cgi = init(body);  // no closing delimiter
  ASSERT_NE(cgi, nullptr);
  EXPECT_EQ(cgiReadMultipart(cgi), CGI_ERR_TRUNCATED);
  EXPECT_EQ(cgiGetFiles(cgi), nullptr);
  EXPECT_EQ(cgiGetVariables(cgi), nullptr);
  EXPECT_TRUE(dir.entries().empty());
  EXPECT_EQ(cgiReadMultipart(cgi), CGI_ERR_TRUNCATED);
  cgiFree(cgi);
  TearDownFd();
}

TEST_F(DeferredMultipart, OtherBodiesAreReadAtInitAsBefore) {
  s_cgi* cgi = init("a=1&b=2", "application/x-www-form-urlencoded");
  ASSERT_NE(cgi, nullptr);
  EXPECT_STREQ(cgiGetValue(cgi, "b"), "2");
  EXPECT_EQ(cgiReadMultipart(cgi), CGI_OK);
  cgiFree(cgi);
  TearDownFd();
}

}  // namespace
