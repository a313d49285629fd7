// Bounded reads and atomic replacement, shared by every store.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fcntl.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <thread>

#include "orvo/utils/file.h"
#include "platform_test_support.h"

using orvo::utils::readFdBounded;
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

// Text of `size` bytes that differs at every 16 KiB read and around it.
std::string patterned(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>('a' + (i * 7 + i / 4096) % 26);
  return text;
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

// A file many reads long comes back whole, from its size (a regular file)
// or without one (a pipe), and the limit holds for both.
TEST(ReadFdBounded, ReadsLongFilesAndPipesWholeWithinTheLimit) {
  Root root;
  std::string const content = patterned(100003);
  root.write("/tmp/long", content);
  int fd = open(root.file("/tmp/long").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  std::string text;
  EXPECT_TRUE(readFdBounded(fd, content.size(), text));
  EXPECT_EQ(text, content);
  close(fd);

  signal(SIGPIPE, SIG_IGN);  // the writer of a refused pipe gets EPIPE instead
  for (std::size_t limit : {content.size(), content.size() - 1}) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::thread writer([&] {
      std::size_t done = 0;
      while (done < content.size()) {
        ssize_t n = write(ends[1], content.data() + done, content.size() - done);
        if (n <= 0) break;
        done += static_cast<std::size_t>(n);
      }
      close(ends[1]);
    });
    text = "unchanged";
    errno = 0;
    bool const read = readFdBounded(ends[0], limit, text);
    close(ends[0]);
    writer.join();
    if (limit == content.size()) {
      EXPECT_TRUE(read);
      EXPECT_EQ(text, content);
    } else {
      EXPECT_FALSE(read);
      EXPECT_EQ(errno, EFBIG);
      EXPECT_EQ(text, "unchanged");
    }
  }
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

TEST(RemoveAbandonedTemporaries, RemovesOnlyOldRegularFilesOfThatPattern) {
  Root root;
  root.write("/var/log/btmp", "records");
  root.write("/var/log/btmp-a1B2c3", "killed writer's");
  root.age("/var/log/btmp-a1B2c3", 601);
  root.write("/var/log/btmp-Zz9yX8", "kept: a live writer's, just written");
  root.write("/var/log/btmp-ab-def", "kept: not generated");
  root.age("/var/log/btmp-ab-def", 601);
  root.write("/var/log/btmp.q1W2e3", "kept: another separator");
  root.age("/var/log/btmp.q1W2e3", 601);
  root.write("/var/log/target", "kept: what a link points to");
  ASSERT_EQ(symlink(root.file("/var/log/target").c_str(), root.file("/var/log/btmp-L1nk00").c_str()), 0);
  root.age("/var/log/btmp-L1nk00", 601);
  ASSERT_EQ(mkdir(root.file("/var/log/btmp-D1r000").c_str(), 0700), 0);
  root.age("/var/log/btmp-D1r000", 601);

  EXPECT_EQ(orvo::utils::removeAbandonedTemporaries(root.file("/var/log/btmp"), '-', 600), 1);
  EXPECT_EQ(entriesIn(root.file("/var/log")), 7);
  EXPECT_FALSE(root.exists("/var/log/btmp-a1B2c3"));
  EXPECT_TRUE(root.exists("/var/log/btmp-L1nk00"));
  EXPECT_TRUE(root.exists("/var/log/btmp-D1r000"));
  EXPECT_EQ(root.read("/var/log/btmp-Zz9yX8"), "kept: a live writer's, just written");
  EXPECT_EQ(root.read("/var/log/target"), "kept: what a link points to");
  EXPECT_EQ(root.read("/var/log/btmp"), "records");
  EXPECT_EQ(orvo::utils::removeAbandonedTemporaries(root.file("/var/none/btmp"), '-', 600), 0);
}
