// Shared by the daemon tests: one temporary camera root per test process
// (every test runs in a process of its own), and the simulated daemons
// started in it through ./camsim.
#pragma once

#include <cstdint>
#include <string>

#include "orvo/variant/variant.h"

namespace daemontest {

// Creates the root under the build folder's tmp/ and points ORVO_ROOT at
// it, before anything reads the variable; idempotent. Removed at exit.
std::string const& cameraRoot();

int64_t nowMs();

// Runs `./camsim <arguments> --root`-style: "camsim <sub-command> --root
// <root> <rest>", with the simulator's programs from this build. Returns the
// exit status; the output is discarded.
int camsim(std::string const& subCommand, std::string const& rest);
// The same, keeping what the command printed (standard output and error).
int camsim(std::string const& subCommand, std::string const& rest, std::string& output);

// Runs this build's orvo_simd with `arguments` in the root; the exit status,
// with what it printed in `output`.
int simd(std::string const& arguments, std::string& output);

// Gives the root the account admin/admin and starts every simulated daemon
// in it; stops them when destroyed.
class RunningDaemons {
 public:
  RunningDaemons();
  ~RunningDaemons();
  RunningDaemons(RunningDaemons const&) = delete;
  RunningDaemons& operator=(RunningDaemons const&) = delete;
  bool started() const { return started_; }

 private:
  bool started_ = true;
};

orvo::variant::Variant parse(char const* json);

}  // namespace daemontest
