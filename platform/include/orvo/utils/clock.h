// The one clock of every process. Inside a simulated camera root the clocks
// add an offset kept in the root (so tests can move time forward for every
// process at once); on the device they are the plain system clocks.
#pragma once

#include <sys/time.h>

#include <cstdint>
#include <ctime>

namespace orvo {
namespace utils {

// Milliseconds since the epoch.
uint64_t nowMs();
// Seconds since the epoch.
time_t moment();
// Current time as a timeval.
timeval now();
// The offset in seconds added to the wall clock (0 on the device).
int64_t clockOffsetSeconds();

}  // namespace utils
}  // namespace orvo
