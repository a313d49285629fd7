// One CGI run: rest.cgi (or one of its entry points, called in a forked
// child) with exactly the environment and body a web server would give it,
// in a camera root, and everything it left: exit, answer, log records.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/camera_root.h"
#include "support/log_records.h"
#include "support/process.h"

namespace orvo {
namespace test {

using Environment = std::map<std::string, std::string>;

// What runs as the CGI process.
struct CgiProgram {
  // The built rest.cgi, argv[0] its own path (ends in "/rest.cgi").
  static CgiProgram restCgi();
  // rest.cgi called as `argv0` (another name or folder).
  static CgiProgram restCgiAs(std::string argv0);
  // `entry` called in a forked child; its value is the exit status.
  static CgiProgram inProcess(std::function<int()> entry);
  // rest.cgi run by setpriv as user and group `uid`, without supplementary
  // groups: the program as a device runs it when it is not root.
  static CgiProgram restCgiAsUser(unsigned uid);

  // When set, the command that runs the program (its last argument).
  std::vector<std::string> launcher;
  std::string argv0;
  std::function<int()> entry;
  std::chrono::milliseconds limit{60000};
};

// The command prefix that runs a program as user and group `uid` without
// supplementary groups (util-linux's setpriv).
std::vector<std::string> asUser(unsigned uid);

struct CgiResult {
  pid_t pid = 0;
  bool exited = false;    // ended through exit(); then exitCode is valid
  int exitCode = -1;      // 0..255; the program's -1 is 255
  int signal = 0;         // the terminating signal when not exited
  bool timedOut = false;  // killed after the limit
  std::string out;        // standard output, byte for byte
  std::string err;        // standard error

  // The answer in `out`: header lines up to the blank line, then the body.
  std::vector<std::pair<std::string, std::string>> headers;  // in order
  std::string status;  // the "Status" header, "" when none
  std::string body;

  std::vector<LogRecord> log;  // the records the run added to the root's log

  // What the entry point returned, as a signed value (-1 for 255).
  int returned() const { return static_cast<signed char>(exitCode); }
  // The first header of that name, if any.
  std::optional<std::string> header(std::string const& name) const;
};

// Runs `program` with only `environment`, ORVO_ROOT=<root> (and the
// sanitizers' options the test run sets) in its environment and `body` on
// standard input.
CgiResult runCgi(CameraRoot const& root, Environment const& environment,
                 std::string const& body = "", CgiProgram const& program = CgiProgram::restCgi());

// Splits a CGI answer (CR LF header lines, blank line, body) into `result`.
void splitCgiAnswer(CgiResult& result);

}  // namespace test
}  // namespace orvo
