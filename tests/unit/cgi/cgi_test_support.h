// Runs code in the conditions of a CGI process: a chosen environment, a
// body on standard input, standard output captured, inside a camera root.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace cgitest {

struct Captured {
  std::string out;               // exact bytes written to standard output
  int result = 0;                // what the code returned
  std::vector<std::string> log;  // lines added to the camera root's log
};

// Runs `code` in a forked child with exactly `env` (plus ORVO_ROOT set to a
// fresh camera root) and `body` on standard input.
Captured runAsCgi(std::map<std::string, std::string> const& env, std::string const& body,
                  std::function<int()> const& code);

// True when some log line contains `text`.
bool logged(Captured const& run, std::string const& text);

}  // namespace cgitest
