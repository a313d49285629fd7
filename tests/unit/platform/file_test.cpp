// Bounded reads and atomic replacement, shared by every store.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "orvo/utils/file.h"
#include "platform_test_support.h"

using orvo::utils::readFileBounded;
using orvo::utils::replaceFileAtomically;
using platformtest::Root;

namespace {

int entriesIn(std::string const& folder) {
  int count = 0;
  DIR* dir = opendir(folder.c_str());
  while (dirent* entry = dir ? readdir(dir) : nullptr) {
    if (entry->d_name[0] != '.') ++count;
  }
  if (dir) closedir(dir);
  return count;
}

mode_t modeOf(std::string const& path) {
  struct stat info {};
  stat(path.c_str(), &info);
  return info.st_mode & 07777;
}

}  // namespace

TEST(ReadFileBounded, ReadsUpToTheLimitAndRefusesMore) {
  Root root;
  root.write("/tmp/f", "12345");
  std::string text = "unchanged";
  EXPECT_TRUE(readFileBounded(root.file("/tmp/f"), 5, text));
  EXPECT_EQ(text, "12345");
  text = "unchanged";
  errno = 0;
  EXPECT_FALSE(readFileBounded(root.file("/tmp/f"), 4, text));
  EXPECT_EQ(errno, EFBIG);
  EXPECT_EQ(text, "unchanged");
  EXPECT_FALSE(readFileBounded(root.file("/tmp/none"), 100, text));
  EXPECT_FALSE(readFileBounded(root.file("/tmp"), 100, text));  // a folder
}

TEST(ReplaceFileAtomically, WritesNewFilesWithTheGivenModeAndKeepsExistingModes) {
  Root root;
  std::string path = root.file("/tmp/store");
  ASSERT_TRUE(replaceFileAtomically(path, "one", 0600, true));
  EXPECT_EQ(root.read("/tmp/store"), "one");
  EXPECT_EQ(modeOf(path), 0600u);
  chmod(path.c_str(), 0640);
  ASSERT_TRUE(replaceFileAtomically(path, "two", 0600, true));
  EXPECT_EQ(root.read("/tmp/store"), "two");
  EXPECT_EQ(modeOf(path), 0640u);
  ASSERT_TRUE(replaceFileAtomically(path, "three", 0644, false));
  EXPECT_EQ(modeOf(path), 0644u);
  EXPECT_EQ(entriesIn(root.file("/tmp")), 1);
}

TEST(ReplaceFileAtomically, FailureKeepsTheOldFileAndLeavesNoTemporary) {
  Root root;
  // The target is a non-empty folder: the rename fails after the write.
  mkdir(root.file("/tmp/target").c_str(), 0755);
  root.write("/tmp/target/inside", "old");
  EXPECT_FALSE(replaceFileAtomically(root.file("/tmp/target"), "new", 0600, true));
  EXPECT_EQ(root.read("/tmp/target/inside"), "old");
  EXPECT_EQ(entriesIn(root.file("/tmp")), 1);
  EXPECT_FALSE(replaceFileAtomically(root.file("/tmp/missing-folder/x"), "new", 0600, true));
}

TEST(RemoveStaleTemporaries, RemovesOnlyLeftoversOfThatFile) {
  Root root;
  root.write("/tmp/sessions.db", "{}");
  root.write("/tmp/sessions.db.a1B2c3", "half");
  root.write("/tmp/sessions.db.Zz9yX8", "half");
  root.write("/tmp/sessions.db.short", "kept: not six letters");
  root.write("/tmp/sessions.db.ab-def", "kept: not generated");
  root.write("/tmp/other.db.a1B2c3", "kept: another file's");
  EXPECT_EQ(orvo::utils::removeStaleTemporaries(root.file("/tmp/sessions.db")), 2);
  EXPECT_EQ(entriesIn(root.file("/tmp")), 4);
  EXPECT_EQ(root.read("/tmp/sessions.db"), "{}");
  EXPECT_EQ(orvo::utils::removeStaleTemporaries(root.file("/tmp/none/x")), 0);
}
