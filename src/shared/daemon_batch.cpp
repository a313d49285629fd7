#include "shared/daemon_batch.h"

#include "cgi/log_tag.h"

namespace orvo {
namespace rest {

DaemonBatch::DaemonBatch(char const* client, LogSite site) : bus_(client), site_(site) {}

bool DaemonBatch::init() {
  if (bus_.init()) return true;
  logInternal(kLogTag, site_.file, site_.function, __LINE__, LOG_ERR, 0, 0,
              "Failed to init IPC handler");
  return false;
}

bool DaemonBatch::send(std::initializer_list<BatchRequest> requests) {
  for (BatchRequest const& request : requests) {
    if (!bus_.sendRequest(request.daemon, *request.message)) {
      logInternal(kLogTag, site_.file, site_.function, __LINE__, LOG_ERR, 0, 0,
                  "Unable to send the IPC request");
      return false;
    }
    sent_.push_back({request.message->id(), request.slowAnswerLine});
  }
  return true;
}

bool DaemonBatch::send(std::vector<BatchRequest> const& requests) {
  for (BatchRequest const& request : requests) {
    if (!send({request})) return false;
  }
  return true;
}

bool DaemonBatch::waitSent(unsigned limitMs) { return bus_.waitAllRequestsSent(limitMs); }

bool DaemonBatch::waitAnswered(unsigned limitMs) {
  return bus_.waitAllResponsesReceived(limitMs);
}

bool DaemonBatch::allSucceeded() { return bus_.allRequestsSucceed(); }

void DaemonBatch::logSlowAnswers(unsigned long thresholdMs) {
  for (Sent const& sent : sent_) {
    unsigned long const latency = bus_.getLatency(sent.id);
    if (sent.slowAnswerLine == nullptr || latency <= thresholdMs) continue;
    logInternal(kLogTag, site_.file, site_.function, __LINE__, LOG_WARNING, 0, 0,
                sent.slowAnswerLine, latency);
  }
}

orvo::variant::Variant DaemonBatch::answer(orvo::ipc::messages::BaseRequestMessage& message) {
  return bus_.getResponseOrEmpty(message.id());
}

}  // namespace rest
}  // namespace orvo
