// Asking several daemons at once: every request of the batch is sent before
// any answer is awaited, so the daemons work in parallel and the whole batch
// takes about as long as its slowest daemon. Each answer is then taken by its
// request's message id.
//
//   DaemonBatch batch("rest_reset_image", {kLogFile, "rest_reset_image_main"});
//   if (!batch.init()) return 0;
//   if (!batch.send({{daemons::kIspServer, &reset}})) return -1;
//   batch.waitSent(10000);
//   batch.waitAnswered(10000);
//   reply["isp"] = batch.answer(reset);
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "orvo/ipc/messages/base.h"
#include "orvo/variant/variant.h"
#include "shared/bus_client.h"

namespace orvo {
namespace rest {

// A read's usual limits: every request of the batch handed to the bus, and
// every answer in.
constexpr unsigned kBatchSendLimitMs = 5000;
constexpr unsigned kBatchAnswerLimitMs = 5000;

// The module and step a batch's records are logged under.
struct LogSite {
  char const* file;
  char const* function;
};

// One request of a batch: the daemon that answers, the message (normalised
// by the caller), and the warning logged with the latency in milliseconds
// when the answer is slow (nullptr: never logged).
struct BatchRequest {
  char const* daemon;
  orvo::ipc::messages::BaseRequestMessage* message;
  char const* slowAnswerLine = nullptr;
};

class DaemonBatch {
 public:
  // `client` is the base name the batch registers under on the bus.
  DaemonBatch(char const* client, LogSite site);

  // Registers on the bus; logs "Failed to init IPC handler" when it cannot.
  bool init();
  // Sends the requests in order; at the first one that cannot be sent logs
  // "Unable to send the IPC request" and stops with false.
  bool send(std::initializer_list<BatchRequest> requests);
  bool send(std::vector<BatchRequest> const& requests);
  // Waits until every request has left / every expected answer is in, at
  // most `limitMs`. False when the limit passed first.
  bool waitSent(unsigned limitMs);
  bool waitAnswered(unsigned limitMs);
  // True when every request was delivered and, where expected, answered.
  bool allSucceeded();
  // Logs at LOG_WARNING, in sending order, each request whose answer took
  // longer than `thresholdMs` (strictly).
  void logSlowAnswers(unsigned long thresholdMs);
  // The answer to `message`, or an empty Variant.
  orvo::variant::Variant answer(orvo::ipc::messages::BaseRequestMessage& message);

 private:
  struct Sent {
    unsigned long id;
    char const* slowAnswerLine;
  };

  BlockingIpcWrapper bus_;
  LogSite site_;
  std::vector<Sent> sent_;
};

}  // namespace rest
}  // namespace orvo
