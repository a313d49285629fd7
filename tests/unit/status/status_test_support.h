// A camera root with a description, a system configuration and the
// configuration writer; scripted daemons on its bus; and the status and
// settings handlers run in a forked child as a CGI process would run them.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "orvo/variant/variant.h"
#include "support/camera_root.h"
#include "support/cgi_run.h"

namespace statustest {

using orvo::test::CgiResult;

// The description `camsim init` writes, as a Variant the test may change
// before the root is made.
orvo::variant::Variant defaultCameraInfo();
// The default system configuration text.
std::string defaultSystemCfg();

// A fresh camera root holding the default description, the default system
// configuration and the configuration writer of this build.
class Root : public orvo::test::CameraRoot {
 public:
  Root();
  void writeCameraInfo(orvo::variant::Variant const& info) const;
  // A private /proc for the statistics (the files the library reads).
  void writeProc(std::string const& netDev) const;
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

enum class Handler { kStatus, kSettings };

// Runs the handler as a CGI process (support/cgi_run.h) with REQUEST_METHOD
// `method`, REMOTE_ADDR 192.0.2.7, CONTENT_TYPE application/json and `body`
// on standard input; `version` is the API version argument.
CgiResult runHandler(Root const& root, Handler handler, std::string const& method,
               std::string const& version = "1.2", std::string const& body = "");

// The run's records whose text is exactly `text`, as "<level> <function>"
// pairs, e.g. "err handle_put".
std::vector<std::string> logged(CgiResult const& run, std::string const& text);
bool loggedText(CgiResult const& run, std::string const& text);

orvo::variant::Variant parse(std::string const& json);

// What a handler that fails before answering leaves: the dispatcher's preset.
constexpr char kUntouched[] = "Status: 500\r\nConnection: close\r\n\r\n";

// Compact JSON of a value.
std::string json(orvo::variant::Variant const& value);

}  // namespace statustest
