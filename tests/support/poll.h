// Bounded waits for what another process does: no fixed sleeps.
#pragma once

#include <chrono>
#include <functional>

namespace orvo {
namespace test {

// Checks `condition` every few milliseconds (or every `interval`, for a
// costly check) until it holds (true) or `limit` has passed (false).
bool eventually(std::function<bool()> const& condition, std::chrono::milliseconds limit,
                std::chrono::milliseconds interval = std::chrono::milliseconds(5));

// Checks `condition` every few milliseconds for `window`: false as soon as
// it fails, true when it held throughout. For "nothing else arrived": a
// message that does arrive ends the wait at once.
bool holdsFor(std::function<bool()> const& condition, std::chrono::milliseconds window);

}  // namespace test
}  // namespace orvo
