#include "orvo/utils/exec.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdlib>

#include "orvo/log.h"
#include "orvo/utils/paths.h"

extern char** environ;

namespace orvo {
namespace utils {

namespace {

constexpr char kLogTag[] = "orvo_utils";
constexpr char kLogFile[] = "platform/exec";
constexpr char kNullDevice[] = "/dev/null";

// Standard input and output of the child go to /dev/null; standard error
// stays, so a tool's complaints reach the web server's error log.
bool silenceChildOutput(posix_spawn_file_actions_t* actions) {
  return posix_spawn_file_actions_addopen(actions, 0, kNullDevice, O_RDONLY, 0) == 0 &&
         posix_spawn_file_actions_addopen(actions, 1, kNullDevice, O_WRONLY, 0) == 0;
}

int waitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}

}  // namespace

int sysExecSimple(char const* path, std::vector<std::string> const& args) {
  if (path == nullptr || *path == '\0') return -1;
  std::string const program = devicePath(path);
  std::vector<char*> argv;
  argv.reserve(args.size() + 2);
  argv.push_back(const_cast<char*>(path));
  for (std::string const& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) return -1;
  pid_t child = -1;
  int error = silenceChildOutput(&actions)
                  ? posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ)
                  : EINVAL;
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    ORVO_LOG("sysExecSimple", LOG_ERR, error, "Cannot start %s", program.c_str());
    return -1;
  }
  return waitFor(child);
}

void forceCrash() {
  closelog();
  signal(SIGABRT, SIG_DFL);
  std::abort();
}

}  // namespace utils
}  // namespace orvo
