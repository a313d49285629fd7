// The session database file where anybody may write: what is trusted, what
// is refused and why, and the cap on live sessions.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "access/session_db.h"
#include "support/camera_root.h"

namespace {

using orvo::variant::Variant;
using namespace orvo::rest::access;

std::string dbPath() { return orvo::test::processRoot().path() + "/tmp/unit-sessions.db"; }

class SessionDbFile : public ::testing::Test {
 protected:
  void SetUp() override { clear(); }
  void TearDown() override { clear(); }
  static void clear() {
    ::unlink(dbPath().c_str());
    ::rmdir(dbPath().c_str());
  }
  static void write(std::string const& text, mode_t mode) {
    orvo::test::processRoot().write("/tmp/unit-sessions.db", text);
    ASSERT_EQ(::chmod(dbPath().c_str(), mode), 0);
  }
};

TEST(SessionDbTrust, OnlyOwnRegularFilesWritableByNobodyElse) {
  EXPECT_EQ(untrustedReason(S_IFREG | 0600, 7, 7), "");
  EXPECT_EQ(untrustedReason(S_IFREG | 0644, 7, 7), "");
  EXPECT_EQ(untrustedReason(S_IFREG | 0620, 7, 7), "is writable by others (mode 0620)");
  EXPECT_EQ(untrustedReason(S_IFREG | 0602, 7, 7), "is writable by others (mode 0602)");
  EXPECT_EQ(untrustedReason(S_IFREG | 0600, 8, 7), "is owned by uid 8, not 7");
  EXPECT_EQ(untrustedReason(S_IFDIR | 0700, 7, 7), "is not a regular file");
  EXPECT_EQ(untrustedReason(S_IFIFO | 0600, 7, 7), "is not a regular file");
}

TEST_F(SessionDbFile, ReadsATrustedFile) {
  write("{\"a\":{\"remote-addr\":\"x\",\"max-age\":1}}", 0600);
  Variant db;
  std::string problem;
  ASSERT_EQ(readSessionDb(dbPath(), db, problem), SessionDbRead::kRead);
  EXPECT_EQ(problem, "");
  EXPECT_NE(findSession(db, "a"), nullptr);
}

TEST_F(SessionDbFile, MissingIsNotAProblem) {
  Variant db;
  std::string problem = "stale";
  EXPECT_EQ(readSessionDb(dbPath(), db, problem), SessionDbRead::kMissing);
  EXPECT_EQ(problem, "");
}

TEST_F(SessionDbFile, RefusesLinksLooseModesFoldersAndBrokenText) {
  Variant db;
  std::string problem;
  write("{}", 0666);
  EXPECT_EQ(readSessionDb(dbPath(), db, problem), SessionDbRead::kRefused);
  EXPECT_EQ(problem, "is writable by others (mode 0666)");
  write("{ broken", 0600);
  EXPECT_EQ(readSessionDb(dbPath(), db, problem), SessionDbRead::kRefused);
  EXPECT_EQ(problem, "is not JSON");
  clear();
  std::string const target = orvo::test::processRoot().path() + "/tmp/unit-link-target";
  orvo::test::processRoot().write("/tmp/unit-link-target", "{}");
  ASSERT_EQ(::chmod(target.c_str(), 0600), 0);
  ASSERT_EQ(::symlink(target.c_str(), dbPath().c_str()), 0);
  EXPECT_EQ(readSessionDb(dbPath(), db, problem), SessionDbRead::kRefused);
  EXPECT_EQ(problem, "is a symbolic link");
  // Creating does not go through the link either.
  ::unlink(target.c_str());
  EXPECT_FALSE(createSessionDb(dbPath()));
  EXPECT_NE(::access(target.c_str(), F_OK), 0);
  clear();
  ASSERT_EQ(::mkdir(dbPath().c_str(), 0700), 0);
  EXPECT_EQ(readSessionDb(dbPath(), db, problem), SessionDbRead::kRefused);
  EXPECT_EQ(problem, "is not a regular file");
  EXPECT_TRUE(clearRefusedEntry(dbPath()));
  EXPECT_NE(::access(dbPath().c_str(), F_OK), 0);
}

TEST_F(SessionDbFile, WritesOwnerOnlyWhateverStoodThere) {
  write("{}", 0644);
  Variant db;
  db["id"] = makeSessionRecord("10.0.0.1", 5);
  ASSERT_TRUE(writeSessionDb(dbPath(), db));
  struct stat info {};
  ASSERT_EQ(::lstat(dbPath().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600u);
  std::string problem;
  Variant back;
  ASSERT_EQ(readSessionDb(dbPath(), back, problem), SessionDbRead::kRead);
  EXPECT_TRUE(back == db);
}

TEST(SessionEviction, KeepsTheLatestExpiries) {
  Variant db;
  for (int i = 0; i < 10; ++i) db["s" + std::to_string(i)] = makeSessionRecord("a", 1000 - i);
  EXPECT_EQ(evictOldestSessions(db, 20), 0u);
  EXPECT_EQ(evictOldestSessions(db, 4), 6u);
  EXPECT_EQ(db.KeysCount(), 4u);
  for (int i = 0; i < 4; ++i) EXPECT_NE(findSession(db, "s" + std::to_string(i)), nullptr) << i;
  EXPECT_EQ(evictOldestSessions(db, 0), 4u);
  EXPECT_EQ(db.KeysCount(), 0u);
}

}  // namespace
