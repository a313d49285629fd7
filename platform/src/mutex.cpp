#include "orvo/utils/mutex.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/time.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvo/utils/paths.h"

namespace orvo {
namespace utils {

namespace {

constexpr char kLockFolder[] = "/run/lock/orvo";

// A lock name becomes a file name: anything but [A-Za-z0-9._-] becomes '_'
// so that no name can reach outside the lock folder.
std::string lockFileName(std::string const& name) {
  std::string out;
  for (char c : name) {
    bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                 c == '.' || c == '_' || c == '-';
    out += plain ? c : '_';
  }
  return out.empty() ? std::string("_") : out;
}

void onAlarm(int) {}

// A blocking flock() interrupted by a one-shot timer: waiters queue in the
// kernel (no polling, no starvation under load) and give up after `limitMs`.
int lockWithLimit(int fd, int operation, int limitMs) {
  struct sigaction quiet {};
  quiet.sa_handler = onAlarm;  // no SA_RESTART: the timer must interrupt flock
  sigemptyset(&quiet.sa_mask);
  struct sigaction previous {};
  sigaction(SIGALRM, &quiet, &previous);
  itimerval limit{};
  limit.it_value.tv_sec = limitMs / 1000;
  limit.it_value.tv_usec = (limitMs % 1000) * 1000;
  itimerval before{};
  setitimer(ITIMER_REAL, &limit, &before);
  int rc = ::flock(fd, operation);
  int err = errno;
  itimerval off{};
  setitimer(ITIMER_REAL, &off, nullptr);
  sigaction(SIGALRM, &previous, nullptr);
  errno = err;
  return rc;
}

}  // namespace

InterProcessMutex::InterProcessMutex(std::string const& name, bool wait)
    : path_(devicePath(kLockFolder) + "/" + lockFileName(name) + ".lock"), wait_(wait) {}

InterProcessMutex::~InterProcessMutex() { release(); }

int InterProcessMutex::acquire() { return lockAs(LOCK_EX); }

int InterProcessMutex::acquireShared() { return lockAs(LOCK_SH); }

int InterProcessMutex::lockAs(int operation) {
  if (fd_ >= 0) return 0;
  int fd = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0 && errno == ENOENT) {
    ::mkdir(devicePath("/run").c_str(), 0755);
    ::mkdir(devicePath("/run/lock").c_str(), 0755);
    ::mkdir(devicePath(kLockFolder).c_str(), 0755);
    fd = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  }
  if (fd < 0) return -1;
  int rc = wait_ ? lockWithLimit(fd, operation, kMutexWaitLimitMs) : ::flock(fd, operation | LOCK_NB);
  if (rc == 0) {
    fd_ = fd;
    return 0;
  }
  int err = (errno == EINTR) ? EWOULDBLOCK : errno;
  ::close(fd);
  errno = err;
  return -1;
}

int InterProcessMutex::release() {
  if (fd_ < 0) return -1;
  // Closing the descriptor drops the flock; the file itself stays, so that
  // no second process can lock a different inode under the same name.
  ::close(fd_);
  fd_ = -1;
  return 0;
}

}  // namespace utils
}  // namespace orvo
