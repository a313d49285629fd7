// Named, system-wide mutex between processes. It is a lock file in the lock
// folder held with flock(2): the kernel drops the lock when the holder dies,
// so a crash never leaves a stale lock behind.
#pragma once

#include <string>

namespace orvo {
namespace utils {

// How long a waiting mutex waits before acquire() gives up.
constexpr int kMutexWaitLimitMs = 5000;

class InterProcessMutex {
 public:
  // `wait` false: a single-instance lock; acquire() fails at once when another
  // process holds it. `wait` true: acquire() waits, at most kMutexWaitLimitMs.
  InterProcessMutex(std::string const& name, bool wait);
  ~InterProcessMutex();
  InterProcessMutex(InterProcessMutex const&) = delete;
  InterProcessMutex& operator=(InterProcessMutex const&) = delete;

  // 0 on success, -1 otherwise (errno tells why: EWOULDBLOCK when held).
  int acquire();
  // The same, shared: any number of processes may hold the mutex shared at
  // once, and none while one holds it exclusively (acquire()). For readers
  // of what the exclusive holders write.
  int acquireShared();
  int release();
  bool held() const { return fd_ >= 0; }

 private:
  int lockAs(int operation);  // LOCK_EX or LOCK_SH

  std::string path_;
  bool wait_;
  int fd_ = -1;
};

}  // namespace utils
}  // namespace orvo

using orvo::utils::InterProcessMutex;
