// Staging an uploaded image in the program's own folder, and what the
// upgrade then trusts: only the file the upload staged and recorded. Each
// check runs in a child with a camera root of its own (paths are cached).
#include "shared/firmware_upload.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "shared/private_dir.h"
#include "support/camera_root.h"
#include "support/process.h"

namespace {

using orvo::rest::PrivateDir;
using orvo::test::CameraRoot;

// Runs `code` with the root's device paths; its value is the exit status.
int inRoot(CameraRoot const& root, std::function<int()> const& code) {
  return orvo::test::runInChild(root.path(), code);
}

// An upload as the CGI library leaves it in the folder: 0600.
std::string saveUpload(PrivateDir const& dir, std::string const& content) {
  std::string const path = dir.Path() + "/cgi-upload-abc123";
  std::ofstream(path) << content;
  ::chmod(path.c_str(), 0600);
  return path;
}

// Opens the folder, stages an upload there and records it.
bool stagedAndRecorded(PrivateDir& dir) {
  return dir.Open() && orvo::rest::StageFwUpload(dir, saveUpload(dir, "image")) &&
         orvo::rest::RecordStagedImage(dir);
}

TEST(StageFwUpload, TheStagedAndRecordedFileIsTrusted) {
  CameraRoot root(CameraRoot::Layout::kFolders);
  EXPECT_EQ(
      inRoot(root,
             [] {
               PrivateDir dir;
               if (!dir.Open()) return 1;
               std::string const saved = saveUpload(dir, "image");
               if (!orvo::rest::StageFwUpload(dir, saved) || ::access(saved.c_str(), F_OK) == 0)
                 return 2;
               if (orvo::rest::VerifyStagedImage(dir) != "was not staged by an upload") return 3;
               if (!orvo::rest::StageFwUpload(dir, saveUpload(dir, "image"))) return 4;
               if (!orvo::rest::RecordStagedImage(dir)) return 5;
               return orvo::rest::VerifyStagedImage(dir).empty() ? 0 : 6;
             }),
      0);
  EXPECT_EQ(root.read("/tmp/.rest/fwupdate.bin"), "image");
}

TEST(StageFwUpload, AFileChangedAfterTheRecordIsRefusedAndRemoved) {
  CameraRoot root(CameraRoot::Layout::kFolders);
  EXPECT_EQ(inRoot(root,
                   [] {
                     PrivateDir dir;
                     if (!stagedAndRecorded(dir)) return 1;
                     std::ofstream(dir.Path() + "/fwupdate.bin", std::ios::app) << "more";
                     if (orvo::rest::VerifyStagedImage(dir) != "is not the file the upload staged")
                       return 2;
                     return ::access((dir.Path() + "/fwupdate.bin").c_str(), F_OK) == 0 ? 3 : 0;
                   }),
            0);
  EXPECT_FALSE(root.exists("/tmp/.rest/fwupdate.rec"));
}

TEST(StageFwUpload, NoUploadCannotBeMovedAndForgetsTheRecord) {
  CameraRoot root(CameraRoot::Layout::kFolders);
  EXPECT_EQ(inRoot(root,
                   [] {
                     PrivateDir dir;
                     if (!stagedAndRecorded(dir)) return 1;
                     errno = 0;
                     if (orvo::rest::StageFwUpload(dir, "") || errno != ENOENT) return 2;
                     return orvo::rest::VerifyStagedImage(dir) == "was not staged by an upload" ? 0
                                                                                                : 3;
                   }),
            0);
}

TEST(PrivateDir, IsMadeOursAnd0700) {
  CameraRoot root(CameraRoot::Layout::kFolders);
  ASSERT_EQ(::rmdir(root.file("/tmp/.rest").c_str()), 0);
  EXPECT_EQ(inRoot(root,
                   [] {
                     PrivateDir dir;
                     return dir.Open() ? 0 : 1;
                   }),
            0);
  struct stat info {};
  ASSERT_EQ(::lstat(root.file("/tmp/.rest").c_str(), &info), 0);
  EXPECT_TRUE(S_ISDIR(info.st_mode));
  EXPECT_EQ(info.st_mode & 07777, 0700u);
  EXPECT_EQ(info.st_uid, ::geteuid());
}

TEST(PrivateDir, WhatElseStandsThereIsMovedAside) {
  for (int kind = 0; kind < 3; ++kind) {
    SCOPED_TRACE(kind);
    CameraRoot root(CameraRoot::Layout::kFolders);
    std::string const at = root.file("/tmp/.rest");
    ASSERT_EQ(::rmdir(at.c_str()), 0);
    if (kind == 0) {
      ASSERT_EQ(::mkdir(at.c_str(), 0777), 0);  // open to everybody
    } else if (kind == 1) {
      ASSERT_EQ(::symlink(root.file("/etc").c_str(), at.c_str()), 0);
    } else {
      std::ofstream(at) << "x";
    }
    EXPECT_EQ(inRoot(root,
                     [] {
                       PrivateDir dir;
                       return dir.Open() ? 0 : 1;
                     }),
              0);
    struct stat info {};
    ASSERT_EQ(::lstat(at.c_str(), &info), 0);
    EXPECT_TRUE(S_ISDIR(info.st_mode));
    EXPECT_EQ(info.st_mode & 07777, 0700u);
    int aside = 0;
    for (auto const& entry : std::filesystem::directory_iterator(root.file("/tmp"))) {
      aside += entry.path().filename().string().rfind(".rest.refused-", 0) == 0;
    }
    EXPECT_EQ(aside, 1);
  }
}

}  // namespace
