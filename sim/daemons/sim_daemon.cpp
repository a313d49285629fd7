#include "sim_daemon.h"

#include <time.h>

#include <algorithm>
#include <utility>

#include "daemon_table.h"
#include "state_store.h"

namespace orvo {
namespace sim {

using orvo::ipc::messages::BaseRequestMessage;
using orvo::variant::Variant;

int64_t monotonicMs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

SimDaemon::SimDaemon(std::string const& daemon) : BusServer(daemon), daemon_(daemon) {}

void SimDaemon::run(volatile std::sig_atomic_t const& stop) {
  while (stop == 0) {
    runChoreIfDue();
    serve(msUntilNextDue());
    answerDue();
  }
}

void SimDaemon::every(unsigned periodMs, std::function<void()> chore) {
  chore_ = std::move(chore);
  chorePeriodMs_ = periodMs;
  choreDueMs_ = monotonicMs();
}

void SimDaemon::runChoreIfDue() {
  if (!chore_ || monotonicMs() < choreDueMs_) return;
  chore_();
  choreDueMs_ = monotonicMs() + chorePeriodMs_;
}

void SimDaemon::HandleRequest(BaseRequestMessage& request, bool& accept) {
  DaemonControls const controls = readControls(daemon_);
  Variant const answer = handleRequest(daemon_, request);
  if (controls.silent) return;  // kept open, never answered
  if (!request.responseExpected()) {
    accept = false;
    return;
  }
  unsigned const delayMs = controls.latencyMs + workTimeMs(daemon_, request, controls);
  if (delayMs == 0) {
    respond(request, answer);
    return;
  }
  held_.push_back(HeldAnswer{monotonicMs() + delayMs, request, answer});
}

void SimDaemon::answerDue() {
  int64_t const now = monotonicMs();
  auto due = std::stable_partition(held_.begin(), held_.end(),
                                   [now](HeldAnswer const& held) { return held.dueMs > now; });
  std::vector<HeldAnswer> ready(std::make_move_iterator(due), std::make_move_iterator(held_.end()));
  held_.erase(due, held_.end());
  for (HeldAnswer& held : ready) respond(held.request, held.answer);
}

unsigned SimDaemon::msUntilNextDue() const {
  int64_t wait = kServeSliceMs;
  int64_t const now = monotonicMs();
  for (HeldAnswer const& held : held_) wait = std::min(wait, held.dueMs - now);
  if (chore_) wait = std::min(wait, choreDueMs_ - now);
  return static_cast<unsigned>(std::max<int64_t>(wait, 0));
}

}  // namespace sim
}  // namespace orvo
