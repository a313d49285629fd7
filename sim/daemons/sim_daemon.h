// One simulated daemon on the bus. It reads its test controls on every
// request: with a latency the answer is held back (other requests are still
// served meanwhile); when silent the request is taken and never answered.
#pragma once

#include <csignal>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "orvo/ipc/bus_server.h"

namespace orvo {
namespace sim {

// Longest pause of the serving loop, so a stop request is seen quickly.
constexpr unsigned kServeSliceMs = 200;

class SimDaemon : public orvo::ipc::BusServer {
 public:
  explicit SimDaemon(std::string const& daemon);

  // Serves until `stop` becomes non-zero.
  void run(volatile std::sig_atomic_t const& stop);
  // Runs `chore` between requests every `periodMs` (first at once), for work
  // a daemon does on its own, such as the streamer's still image.
  void every(unsigned periodMs, std::function<void()> chore);

 protected:
  void HandleRequest(orvo::ipc::messages::BaseRequestMessage& request, bool& accept) override;

 private:
  struct HeldAnswer {
    int64_t dueMs;
    orvo::ipc::messages::BaseRequestMessage request;
    orvo::variant::Variant answer;
  };

  void answerDue();
  void runChoreIfDue();
  unsigned msUntilNextDue() const;

  std::string daemon_;
  std::vector<HeldAnswer> held_;
  std::function<void()> chore_;
  unsigned chorePeriodMs_ = 0;
  int64_t choreDueMs_ = 0;
};

// Milliseconds of the monotonic clock (answer delays must not follow the
// test clock offset).
int64_t monotonicMs();

}  // namespace sim
}  // namespace orvo
