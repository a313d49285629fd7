// Runs a program, or a function of the test program, as a child process
// with exactly the arguments, environment and standard input the caller
// gives, and collects its exit status and output, with a time limit.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace orvo {
namespace test {

struct ProcessSpec {
  std::string program;            // path executed (no PATH search)
  std::vector<std::string> argv;  // argv[0] included; may differ from program
  std::vector<std::string> env;   // "NAME=value" entries, nothing inherited
  std::string input;              // written to standard input, then closed
  // A safety net for a process that hangs, generous enough for a machine
  // busy with parallel builds; leave out for the default.
  std::chrono::milliseconds limit{60000};
  // When set, the forked child runs this instead of executing `program`
  // (argv is then unused) and exits with its value; `env` replaces the
  // child's environment all the same.
  std::function<int()> entry;
};

struct ProcessResult {
  pid_t pid = 0;
  bool exited = false;    // ended through exit(); then exitCode is valid
  int exitCode = -1;      // 0..255
  int signal = 0;         // the terminating signal when not exited
  bool timedOut = false;  // killed after the limit
  std::string out;        // standard output, byte for byte
  std::string err;        // standard error
};

ProcessResult runProcess(ProcessSpec const& process);

// runProcess() of argv[0] with these arguments and environment, no input,
// the default limit.
ProcessResult runCommand(std::vector<std::string> const& argv, std::vector<std::string> const& env);

// Calls `code` in a forked child with ORVO_ROOT set to `root` (unset when
// empty), so that what the code maps and caches stays out of the test
// process; the child's exit status (its value), or 128 + the signal.
int runInChild(std::string const& root, std::function<int()> const& code);

// The test process's own environment as "NAME=value" entries.
std::vector<std::string> inheritedEnvironment();

}  // namespace test
}  // namespace orvo
