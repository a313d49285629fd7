// The simulated daemons answer to the names of messages/daemons.h.
#pragma once

#include <string>

#include "messages/daemons.h"

namespace orvo {
namespace sim {

// Whether `name` is one of the nine daemons.
bool isDaemonName(std::string const& name);

}  // namespace sim
}  // namespace orvo
