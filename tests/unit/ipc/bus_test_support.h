// Shared by the bus tests: one temporary camera root per test program, test
// daemons as real processes, and readers for what they and the logger wrote.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/log_records.h"

namespace bustest {

// The program's camera root (support/camera_root.h processRoot()), made and
// ORVO_ROOT pointed at it on the first call.
std::string const& cameraRoot();

// Monotonic milliseconds, for measuring time limits.
int64_t nowMs();

// How far a measured time may exceed the limit it measures.
constexpr int64_t kSlackMs = 20;
// Runs of a timed step before a missed upper bound counts: other processes
// can delay one run on a busy machine; an imprecise limit delays every run.
constexpr int kTimingRuns = 3;
// Runs `step` (which returns the milliseconds it measured) until a run takes
// at most `upperMs`, at most kTimingRuns times; returns the fastest run.
int64_t fastestRun(int64_t upperMs, std::function<int64_t()> const& step);

// A test daemon process (see ipc_test_daemon.cpp for the modes).
class Daemon {
 public:
  Daemon(std::string name, std::string mode, int latencyMs = 0, int startDelayMs = 0);
  ~Daemon();
  Daemon(Daemon const&) = delete;
  Daemon& operator=(Daemon const&) = delete;

  // Waits until the daemon accepts connections (at most 5 s).
  bool waitListening() const;
  // The requests it received so far, one JSON text each.
  std::vector<std::string> received() const;
  bool alive() const;

 private:
  std::string name_;
  pid_t pid_ = -1;
};

// The records of the root's log whose text contains `text`.
std::vector<orvo::test::LogRecord> logRecordsWith(std::string const& text);

// A bus name unique within this test program ("<base>_<n>").
std::string uniqueName(std::string const& base);

}  // namespace bustest
