#include "orvo/utils/reboot.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <string>

#include "orvo/log.h"
#include "orvo/utils/paths.h"

extern char** environ;

namespace orvo {
namespace utils {

namespace {

constexpr char kLogTag[] = "orvo_utils";
constexpr char kLogFile[] = "platform/reboot";

// Between fork and exec only async-signal-safe calls. An exec that fails
// writes its errno to `report`; a successful one closes it (close-on-exec).
[[noreturn]] void runDetached(char const* program, char* const argv[], int report) {
  int const null = open("/dev/null", O_RDWR);
  for (int fd = 0; fd <= 2 && null >= 0; ++fd) dup2(null, fd);
  // Nothing of the caller's (its answer pipe, sockets, locks) stays open.
  // close_range is one call however high the descriptor limit is.
  unsigned const kept = static_cast<unsigned>(report);
  bool const closed = (kept == 3 || close_range(3, kept - 1, 0) == 0) &&
                      close_range(kept + 1, ~0U, 0) == 0;
  for (int fd = 3, last = static_cast<int>(sysconf(_SC_OPEN_MAX)); !closed && fd < last; ++fd) {
    if (fd != report) close(fd);
  }
  if (null >= 0) execve(program, argv, environ);
  int const error = null < 0 ? EBADF : errno;
  (void)!write(report, &error, sizeof error);
  _exit(127);
}

// Waits for the intermediate child, which exits as soon as it has forked.
bool reaped(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return false;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// The errno of a failed exec, or 0 when the pipe closed without one.
int execError(int report) {
  int error = 0;
  ssize_t n;
  while ((n = read(report, &error, sizeof error)) < 0 && errno == EINTR) {
  }
  return n == static_cast<ssize_t>(sizeof error) ? error : 0;
}

}  // namespace

bool enqueueReboot(int delay) {
  std::string const program = devicePath(kRebootTool);
  std::string const seconds = std::to_string(delay < 0 ? 0 : delay);
  char* const argv[] = {const_cast<char*>(kRebootTool), const_cast<char*>("-d"),
                        const_cast<char*>(seconds.c_str()), nullptr};
  int report[2];
  if (pipe2(report, O_CLOEXEC) != 0) {
    ORVO_LOG("enqueueReboot", LOG_ERR, errno, "Cannot start %s", program.c_str());
    return false;
  }
  // Twice forked: the tool is nobody's child here, so a long-lived caller
  // never keeps it as a zombie, and setsid() takes it out of the caller's
  // process group.
  pid_t const child = fork();
  if (child == 0) {
    close(report[0]);
    setsid();
    pid_t const tool = fork();
    if (tool == 0) runDetached(program.c_str(), argv, report[1]);
    _exit(tool < 0 ? 1 : 0);
  }
  close(report[1]);
  int error = child < 0 ? errno : 0;
  if (child > 0 && !reaped(child)) error = ECHILD;
  if (error == 0) error = execError(report[0]);
  close(report[0]);
  if (error == 0) return true;
  ORVO_LOG("enqueueReboot", LOG_ERR, error, "Cannot start %s", program.c_str());
  return false;
}

}  // namespace utils
}  // namespace orvo
