// Runs a program as a child process with exactly the arguments, environment
// and standard input the caller gives, and collects its exit status and
// output, with a time limit.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace orvo {
namespace e2e {

struct ProcessSpec {
  std::string program;            // path executed (no PATH search)
  std::vector<std::string> argv;  // argv[0] included; may differ from program
  std::vector<std::string> env;   // "NAME=value" entries, nothing inherited
  std::string input;              // written to standard input, then closed
  std::chrono::milliseconds limit{10000};  // leave out for the default
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

// The test process's own environment as "NAME=value" entries.
std::vector<std::string> inheritedEnvironment();

}  // namespace e2e
}  // namespace orvo
