// A camera root with a description, a system configuration and the
// configuration writer; scripted daemons on its bus; and the status and
// settings handlers run in a forked child as a CGI process would run them.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "orvo/variant/variant.h"

namespace statustest {

// The description `camsim init` writes, as a Variant the test may change
// before the root is made.
orvo::variant::Variant defaultCameraInfo();
// The default system configuration text.
std::string defaultSystemCfg();

// A fresh camera root under <build>/tmp; removed with its content.
class Root {
 public:
  Root();
  ~Root();
  Root(Root const&) = delete;
  Root& operator=(Root const&) = delete;

  std::string const& path() const { return path_; }
  std::string file(std::string const& devicePath) const { return path_ + devicePath; }
  void write(std::string const& devicePath, std::string const& content) const;
  std::string read(std::string const& devicePath) const;
  void writeCameraInfo(orvo::variant::Variant const& info) const;
  // A private /proc for the statistics (the files the library reads).
  void writeProc(std::string const& netDev) const;

 private:
  std::string path_;
};

// How a scripted daemon answers one function.
struct Script {
  std::map<std::string, orvo::variant::Variant> answers;  // by "functionName"
  int delayMs = 0;      // answer this late
  bool silent = false;  // never answer
};

// One daemon process on the root's bus; every request it receives is
// appended to <root>/sim/received-<name>.json (one JSON text per line).
class Daemon {
 public:
  Daemon(Root const& root, std::string const& name, Script const& script);
  ~Daemon();
  Daemon(Daemon const&) = delete;
  Daemon& operator=(Daemon const&) = delete;
  // The requests received so far.
  std::vector<orvo::variant::Variant> received() const;

 private:
  std::string log_;
  pid_t pid_ = -1;
};

struct Outcome {
  std::string out;                 // standard output, exact bytes
  bool exited = false;
  int result = 0;                  // the handler's value (as an exit status)
  int signal = 0;                  // the terminating signal, when not exited
  std::vector<std::string> log;    // the camera log's lines
  std::string status;              // the Status header, "" when none
  std::string body;                // after the blank line
};

enum class Handler { kStatus, kSettings };

// Runs the handler in a child with REQUEST_METHOD `method`, REMOTE_ADDR
// 192.0.2.7, CONTENT_TYPE application/json, `body` on standard input and
// ORVO_ROOT set to the root; `version` is the API version argument.
Outcome runHandler(Root const& root, Handler handler, std::string const& method,
               std::string const& version = "1.2", std::string const& body = "");

// Lines of the run's log whose text (after the source location) is `text`,
// as "<level> <function>" pairs, e.g. "err handle_put".
std::vector<std::string> logged(Outcome const& run, std::string const& text);
bool loggedText(Outcome const& run, std::string const& text);

orvo::variant::Variant parse(std::string const& json);

// What a handler that fails before answering leaves: the dispatcher's preset.
constexpr char kUntouched[] = "Status: 500\r\nConnection: close\r\n\r\n";

// Compact JSON of a value.
std::string json(orvo::variant::Variant const& value);

}  // namespace statustest
