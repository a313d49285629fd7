// Single-instance operations: while another process holds an operation's
// lock, a second request for it is answered 429 at once. The test holds the
// lock itself, exactly as a running settings write would (a flock on the
// camera's lock file), so the refusal does not depend on timing.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include "support/camera.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

constexpr char kAddr[] = "10.1.2.3";
constexpr char kSettingsLockFile[] = "/run/lock/orvo/rest_settings_put.lock";
constexpr char kAlreadyRunning[] = "'rest_settings_put' is already running";

class HeldLock {
 public:
  explicit HeldLock(std::string const& path) : fd_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)) {
    EXPECT_GE(fd_, 0) << path;
    EXPECT_EQ(flock(fd_, LOCK_EX | LOCK_NB), 0) << path;
  }
  ~HeldLock() { close(fd_); }
  HeldLock(HeldLock const&) = delete;
  HeldLock& operator=(HeldLock const&) = delete;

 private:
  int fd_;
};

// A body the write refuses before asking any daemon, so the test needs none.
constexpr char kRefusedBody[] = "{\"device\":{\"language\":\"xx\"}}";

CgiResult putSettings(CameraRoot const& root, std::string const& sessionId) {
  return runCgi(root,
                {{"REQUEST_METHOD", "PUT"},
                 {"QUERY_STRING", "id=1.2/settings"},
                 {"REMOTE_ADDR", kAddr},
                 {"HTTP_COOKIE", "authId=" + sessionId},
                 {"CONTENT_TYPE", "application/json"},
                 {"CONTENT_LENGTH", std::to_string(sizeof kRefusedBody - 1)}},
                kRefusedBody);
}

using FrontEndLock = SharedRootTest;

TEST_F(FrontEndLock, SecondSettingsWriteAnswers429) {
  CameraRoot const& root = FrontEndLock::root();
  // Version 0.1 answers without asking the daemons, which this test does not run.
  CgiResult session = login(root, credentials("admin", "admin"), "0.1", kAddr);
  ASSERT_EQ(session.status, "200");
  std::string id = cookieId(session);
  ASSERT_FALSE(id.empty());

  {
    HeldLock running(root.file(kSettingsLockFile));
    CgiResult refused = putSettings(root, id);
    EXPECT_TRUE(refused.exited);
    EXPECT_EQ(refused.exitCode, 0);
    EXPECT_EQ(refused.out, "Status: 429\r\nConnection: close\r\n\r\n");
    auto records = log();
    ASSERT_FALSE(records.empty());
    LogRecord const& last = records.back();
    EXPECT_EQ(last.pid, refused.pid);
    EXPECT_EQ(last.identity, "rest_settings");
    EXPECT_EQ(last.level, "warning");
    EXPECT_EQ(last.tag, "orvo_cgi");
    EXPECT_EQ(last.file, "src/orvo_cgi");
    EXPECT_EQ(last.function, "lock");
    EXPECT_EQ(last.text, kAlreadyRunning);
  }
  // Once the other writer is done the lock is free again: the same request
  // gets as far as validation.
  CgiResult after = putSettings(root, id);
  EXPECT_EQ(after.out, "Status: 400\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(withText(log(), kAlreadyRunning).size(), 1u);
}

}  // namespace
}  // namespace test
}  // namespace orvo
