// The daemons' state and test controls live as JSON files in the camera
// root, so tests and `camsim state` can read them and one daemon (the
// control server's factory reset) can reset the others:
//   <root>/sim/state/<daemon>.json   the daemon's state (default_state.h)
//   <root>/sim/ctl/<daemon>.json     {"latencyMs": N, "silent": bool,
//                                     "scanDurationMs": N}
// Each state file is read and written under the daemon's inter-process
// lock, and replaced atomically.
#pragma once

#include <functional>
#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace sim {

// Longest answer delay a control may ask for.
constexpr unsigned kMaxLatencyMs = 60000;

// mkdir -p for a (mapped) absolute path.
bool makeFolders(std::string const& path);

std::string stateFilePath(std::string const& daemon);
std::string controlFilePath(std::string const& daemon);

// Runs `change` on the daemon's state (the defaults when the file is missing
// or broken) under its lock, and writes the state back when `change`
// returns true. False when the lock or the write fails.
bool updateState(std::string const& daemon,
                 std::function<bool(orvo::variant::Variant&)> const& change);
// The daemon's state; the defaults are written first when there is none.
bool readState(std::string const& daemon, orvo::variant::Variant& state);
// Replaces the daemon's state with its defaults.
bool resetState(std::string const& daemon);

// How long a wireless scan takes unless a control says otherwise.
constexpr unsigned kDefaultScanDurationMs = 2000;

struct DaemonControls {
  unsigned latencyMs = 0;  // delay before each answer
  bool silent = false;     // receive requests, never answer
  unsigned scanDurationMs = kDefaultScanDurationMs;  // the network daemon's scans
};

// The controls in force; all off when the file is missing or broken.
DaemonControls readControls(std::string const& daemon);
bool writeControls(std::string const& daemon, DaemonControls const& controls);

}  // namespace sim
}  // namespace orvo
