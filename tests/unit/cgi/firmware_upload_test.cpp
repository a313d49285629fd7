// Staging an uploaded image: a rename to the fixed path, skipped when the
// upload already is there.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

#include "firmware_upload.h"

namespace {

class StageFwUpload : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = std::string(ORVO_BINARY_DIR) + "/tmp/stage-XXXXXX";
    ::mkdir((std::string(ORVO_BINARY_DIR) + "/tmp").c_str(), 0755);
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
    staged_ = dir_ + "/fwupdate.bin";
  }
  void TearDown() override {
    int rc = std::system(("rm -rf '" + dir_ + "'").c_str());
    (void)rc;
  }

  std::string dir_, staged_;
};

TEST_F(StageFwUpload, MovesTheUploadToTheStagedPath) {
  std::string const saved = dir_ + "/cgi-upload-abc123";
  std::ofstream(saved) << "image";
  ASSERT_TRUE(orvo::rest::StageFwUpload(saved, staged_));
  EXPECT_NE(::access(staged_.c_str(), F_OK), -1);
  EXPECT_EQ(::access(saved.c_str(), F_OK), -1);
}

TEST_F(StageFwUpload, UploadAlreadyAtTheStagedPathIsNotMoved) {
  // Even when nothing is there: no rename is tried, so it cannot fail; what
  // follows finds out whether the file can be opened.
  EXPECT_TRUE(orvo::rest::StageFwUpload(staged_, staged_));
  std::ofstream(staged_) << "image";
  struct stat before {};
  ASSERT_EQ(::stat(staged_.c_str(), &before), 0);
  EXPECT_TRUE(orvo::rest::StageFwUpload(staged_, staged_));
  struct stat after {};
  ASSERT_EQ(::stat(staged_.c_str(), &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(StageFwUpload, NoUploadCannotBeMoved) {
  errno = 0;
  EXPECT_FALSE(orvo::rest::StageFwUpload("", staged_));
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
