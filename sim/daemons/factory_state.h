// The camera's files as they left the factory: `camsim init` keeps a copy of
// each in <root>/sim/factory/ (no copy: the factory camera has no such file).
// A factory reset puts them back; the daemons' own states are reset from
// default_state.h.
#pragma once

namespace orvo {
namespace sim {

constexpr char kFactoryFolder[] = "/sim/factory";

// Restores the system configuration, the account and the auth token. False
// when the root keeps no factory copies or a file cannot be replaced.
bool restoreFactoryFiles();

}  // namespace sim
}  // namespace orvo
