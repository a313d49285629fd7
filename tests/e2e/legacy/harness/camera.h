// A simulated camera root per test, the built rest.cgi run against it as a
// CGI process, and the records the program logged into the root.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "harness/process.h"

namespace orvo {
namespace e2e {

// Paths fixed when the tests are built.
std::string restCgiPath();   // the built rest.cgi
std::string camsimPath();    // the repository's ./camsim
std::string scratchFolder(); // the build directory's tmp folder

// The test's environment for running ./camsim: the simulator's programs are
// taken from the build these tests belong to.
std::vector<std::string> camsimEnvironment();

// A fresh camera root made by `camsim init` in the build directory's tmp
// folder; removed with everything in it when the object goes.
class CameraRoot {
 public:
  CameraRoot();
  ~CameraRoot();
  CameraRoot(CameraRoot const&) = delete;
  CameraRoot& operator=(CameraRoot const&) = delete;

  std::string const& path() const { return path_; }
  // path() + deviceAbsolutePath, e.g. file("/tmp/.rest_0_1.db").
  std::string file(std::string const& deviceAbsolutePath) const;

 private:
  std::string path_;
};

using Environment = std::map<std::string, std::string>;

struct CgiOptions {
  std::string argv0;  // empty: the program's own path (ends in "/rest.cgi")
  std::chrono::milliseconds limit{10000};
};

// Runs rest.cgi with only `env` plus ORVO_ROOT (and the sanitizers' own
// options, when the test run sets them) in its environment, `body` on
// standard input.
ProcessResult runCgi(CameraRoot const& root, Environment const& env, std::string const& body = "",
                     CgiOptions const& options = {});

// The lines of <root>/var/log/messages, without their line ends.
std::vector<std::string> logLines(CameraRoot const& root);

// One line of the camera's log:
// <time> <identity>[<pid>]: <<level>> <tag>: <file>:<function>:<line>: <text>
struct LogRecord {
  std::string time;
  std::string identity;
  int pid = 0;
  std::string level;  // "err", "warning", "info", ...
  std::string tag;
  std::string file;
  std::string function;
  int line = 0;
  std::string text;

  // Everything but time, pid and source line, for exact comparisons:
  // "<identity> <level> <tag>: <file>:<function>: <text>".
  std::string summary() const;
};

std::optional<LogRecord> parseLogLine(std::string const& line);

// Every record of the log, parsed; a line that does not parse fails the
// calling test and is left out.
std::vector<LogRecord> logRecords(CameraRoot const& root);
// The summaries of logRecords(root).
std::vector<std::string> logSummaries(CameraRoot const& root);

}  // namespace e2e
}  // namespace orvo
