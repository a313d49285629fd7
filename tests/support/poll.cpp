#include "support/poll.h"

#include <thread>

namespace orvo {
namespace test {

bool eventually(std::function<bool()> const& condition, std::chrono::milliseconds limit,
                std::chrono::milliseconds interval) {
  auto const deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    if (condition()) return true;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(interval);
  }
}

bool holdsFor(std::function<bool()> const& condition, std::chrono::milliseconds window) {
  return !eventually([&] { return !condition(); }, window);
}

}  // namespace test
}  // namespace orvo
