// What a scope made and must not leave: a temporary file or folder
// (ScopedRemoval) and the staged image (StagedImageRemoval).
#include "shared/scoped_removal.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

#include "shared/firmware_upload.h"
#include "shared/private_dir.h"
#include "support/camera_root.h"
#include "support/process.h"

namespace {

using orvo::rest::PrivateDir;
using orvo::rest::ScopedRemoval;
using orvo::test::CameraRoot;

bool exists(std::string const& path) { return ::access(path.c_str(), F_OK) == 0; }

TEST(ScopedRemoval, RemovesAFileOrAnEmptyFolderAndLeavesErrnoAlone) {
  CameraRoot root;
  std::string const file = root.path() + "/scratch-file";
  std::string const folder = root.path() + "/scratch-folder";
  std::ofstream(file) << "x";
  ASSERT_EQ(::mkdir(folder.c_str(), 0700), 0);
  {
    ScopedRemoval const removeFile(file);
    ScopedRemoval const removeFolder(folder);
    errno = ENOSPC;
  }
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_FALSE(exists(file));
  EXPECT_FALSE(exists(folder));
}

TEST(ScopedRemoval, KeepsWhatWasKeptAndAFolderThatIsNotEmpty) {
  CameraRoot root;
  std::string const kept = root.path() + "/kept";
  std::string const folder = root.path() + "/full";
  std::ofstream(kept) << "x";
  ASSERT_EQ(::mkdir(folder.c_str(), 0700), 0);
  std::ofstream(folder + "/inside") << "x";
  {
    ScopedRemoval keptFile(kept);
    ScopedRemoval const fullFolder(folder);
    ScopedRemoval const nothing("");
    keptFile.keep();
  }
  EXPECT_TRUE(exists(kept));
  EXPECT_TRUE(exists(folder + "/inside"));
}

TEST(StagedImageRemoval, RemovesTheImageAndItsRecordUnlessKept) {
  CameraRoot root;
  EXPECT_EQ(orvo::test::runInChild(root.path(),
                                   [] {
                                     PrivateDir dir;
                                     if (!dir.Open()) return 1;
                                     std::string const image = dir.Path() + "/fwupdate.bin";
                                     std::ofstream(image) << "image";
                                     ::chmod(image.c_str(), 0600);
                                     {
                                       orvo::rest::StagedImageRemoval kept(dir);
                                       if (!orvo::rest::RecordStagedImage(dir)) return 2;
                                       kept.keep();
                                     }
                                     if (!exists(image)) return 3;
                                     { orvo::rest::StagedImageRemoval const removed(dir); }
                                     return exists(image) ? 4 : 0;
                                   }),
            0);
  EXPECT_FALSE(exists(root.file("/tmp/.rest/fwupdate.rec")));
}

}  // namespace
