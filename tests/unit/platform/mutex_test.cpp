// Named inter-process mutexes: single-instance locks refuse at once, waiting
// ones wait (with a bound), and a dead holder never leaves a stale lock.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

#include "orvo/utils/mutex.h"
#include "platform_test_support.h"

using orvo::utils::InterProcessMutex;
using platformtest::inChild;
using platformtest::Root;

namespace {

long elapsedMs(timespec const& since) {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (t.tv_sec - since.tv_sec) * 1000 + (t.tv_nsec - since.tv_nsec) / 1000000;
}

// Holds `name` in a child process for `holdMs` (forever when negative),
// returning the child's pid once the lock is held.
pid_t holdInChild(std::string const& root, std::string const& name, int holdMs) {
  int ready[2];
  if (pipe(ready) != 0) return -1;
  pid_t child = fork();
  if (child == 0) {
    setenv("ORVO_ROOT", root.c_str(), 1);
    InterProcessMutex mutex(name, false);
    if (mutex.acquire() != 0) _exit(1);
    if (write(ready[1], "x", 1) != 1) _exit(1);
    if (holdMs < 0) pause();
    usleep(static_cast<useconds_t>(holdMs) * 1000);
    _exit(0);
  }
  char byte = 0;
  close(ready[1]);
  if (read(ready[0], &byte, 1) != 1) child = -1;
  close(ready[0]);
  return child;
}

}  // namespace

TEST(InterProcessMutex, SingleInstanceLockFailsAtOnceWhileHeld) {
  Root root;
  pid_t holder = holdInChild(root.path(), "rest_upgrade", -1);
  ASSERT_GT(holder, 0);
  EXPECT_EQ(inChild(root.path(), [] {
              timespec start{};
              clock_gettime(CLOCK_MONOTONIC, &start);
              InterProcessMutex mutex("rest_upgrade", false);
              bool refused = mutex.acquire() != 0 && errno == EWOULDBLOCK;
              return refused && elapsedMs(start) < 100 && !mutex.held();
            }),
            0);
  kill(holder, SIGKILL);
  waitpid(holder, nullptr, 0);
  // The kernel dropped the dead holder's lock: no stale lock remains.
  EXPECT_EQ(inChild(root.path(), [] {
              InterProcessMutex mutex("rest_upgrade", false);
              return mutex.acquire() == 0 && mutex.release() == 0 && mutex.release() == -1;
            }),
            0);
}

TEST(InterProcessMutex, WaitingMutexGetsTheLockWhenTheHolderLetsGo) {
  Root root;
  pid_t holder = holdInChild(root.path(), ".rest_0_1_db", 300);
  ASSERT_GT(holder, 0);
  EXPECT_EQ(inChild(root.path(), [] {
              timespec start{};
              clock_gettime(CLOCK_MONOTONIC, &start);
              InterProcessMutex mutex(".rest_0_1_db", true);
              long waited = (mutex.acquire() == 0) ? elapsedMs(start) : -1;
              return waited >= 150 && waited < 2000;
            }),
            0);
  waitpid(holder, nullptr, 0);
}

TEST(InterProcessMutex, WaitingMutexGivesUpAtItsBound) {
  Root root;
  pid_t holder = holdInChild(root.path(), ".rest_0_1_db", -1);
  ASSERT_GT(holder, 0);
  EXPECT_EQ(inChild(root.path(), [] {
              timespec start{};
              clock_gettime(CLOCK_MONOTONIC, &start);
              InterProcessMutex mutex(".rest_0_1_db", true);
              bool refused = mutex.acquire() != 0 && errno == EWOULDBLOCK;
              long waited = elapsedMs(start);
              return refused && waited >= orvo::utils::kMutexWaitLimitMs - 50 &&
                     waited < orvo::utils::kMutexWaitLimitMs + 1000;
            }),
            0);
  kill(holder, SIGKILL);
  waitpid(holder, nullptr, 0);
}

TEST(InterProcessMutex, SharedHoldersRunTogetherButExcludeTheExclusiveOne) {
  Root root;
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  pid_t reader = fork();
  ASSERT_GE(reader, 0);
  if (reader == 0) {
    setenv("ORVO_ROOT", root.path().c_str(), 1);
    InterProcessMutex mutex(".rest_0_1_db", true);
    if (mutex.acquireShared() != 0) _exit(1);
    if (write(ready[1], "x", 1) != 1) _exit(1);
    pause();
    _exit(0);
  }
  close(ready[1]);
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  close(ready[0]);
  // A second reader gets in at once; a writer does not.
  EXPECT_EQ(inChild(root.path(), [] {
              InterProcessMutex mutex(".rest_0_1_db", false);
              return mutex.acquireShared() == 0 && mutex.held();
            }),
            0);
  EXPECT_EQ(inChild(root.path(), [] {
              InterProcessMutex mutex(".rest_0_1_db", false);
              return mutex.acquire() != 0 && errno == EWOULDBLOCK;
            }),
            0);
  kill(reader, SIGKILL);
  waitpid(reader, nullptr, 0);
  EXPECT_EQ(inChild(root.path(), [] {
              InterProcessMutex mutex(".rest_0_1_db", false);
              return mutex.acquire() == 0;
            }),
            0);
}

TEST(InterProcessMutex, NamesCannotLeaveTheLockFolder) {
  Root root;
  EXPECT_EQ(inChild(root.path(), [&root] {
              InterProcessMutex mutex("../../escape", false);
              return mutex.acquire() == 0 && access((root.path() + "/escape.lock").c_str(), F_OK) != 0 &&
                     access((root.path() + "/run/lock/orvo/.._.._escape.lock").c_str(), F_OK) == 0;
            }),
            0);
}
