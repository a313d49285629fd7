// The sending side of the message bus: single blocking requests and batches
// of requests that run in parallel in one poll loop, without threads.
//
// Batch use:
//   BlockingIpcHandler bus(appendSuffix("rest_settings_get"));
//   bus.init();
//   bus.sendRequest("orvo_osd", osd);         // each request gets a connection
//   bus.sendRequest("orvo_nvr", nvr);
//   bus.waitAllRequestsSent(5000);            // every frame written
//   bus.waitAllResponsesReceived(5000);       // every expected answer in
//   Variant answer = bus.getResponseOrEmpty(osd.id());
//
// Every request is one connection to "<bus>/<destination>.sock"; its answer
// is the frame on that connection whose "id" equals the request's "id".
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "orvo/ipc/bus.h"
#include "orvo/ipc/messages/base.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace ipc {

namespace detail {
struct OutgoingRequest;
}

// Pause between two attempts to reach a destination that is not listening.
constexpr unsigned kRetryIntervalMs = 10;

class BlockingIpcHandler {
 public:
  // `name` is this endpoint's name on the bus (usually from appendSuffix).
  // Nothing is opened here; see init().
  explicit BlockingIpcHandler(std::string const& name);
  virtual ~BlockingIpcHandler();
  BlockingIpcHandler(BlockingIpcHandler const&) = delete;
  BlockingIpcHandler& operator=(BlockingIpcHandler const&) = delete;

  // Checks the endpoint name. False when it cannot be a bus name.
  bool init();

  // One request from a temporary endpoint `source` to `destination`.
  // `wait` true: waits at most `timeoutMs` in all for delivery and, when
  // "responseExpected" is true, for the answer, which is stored in
  // `*response` (when not null). `wait` false: one immediate delivery attempt,
  // no answer awaited. A limit of 0 with no answer expected also makes one
  // immediate attempt. False when the message was not delivered or no answer
  // came in time.
  static bool sendIpcBlocking(std::string const& source, std::string const& destination,
                              messages::BaseRequestMessage& message,
                              orvo::variant::Variant* response, bool wait, unsigned timeoutMs);

  // Queues one request of the batch and tries to deliver it at once. Fills in
  // "from", "to" and "id". False when it cannot be sent: invalid destination,
  // message larger than a frame, id already in the batch, or destination not
  // listening while the message's "queueIfDestUnavailable" is false.
  bool sendRequest(std::string const& destination, messages::BaseRequestMessage& message);

  // Drives the batch until every request has been written. Requests still
  // unsent when the limit passes fail.
  bool waitAllRequestsSent(unsigned timeoutMs);
  // Drives the batch until every request expecting an answer has one.
  // Requests still unanswered (or unsent) when the limit passes fail.
  bool waitAllResponsesReceived(unsigned timeoutMs);
  // True when every request of the batch was delivered and, where expected,
  // answered.
  bool allRequestsSucceed();

  // The answer to request `id`, or an empty Variant.
  orvo::variant::Variant getResponseOrEmpty(unsigned long id);
  // Milliseconds from the request's last byte sent to its answer; 0 when
  // there is no answer.
  unsigned long getLatency(unsigned long id);

  std::string const& name() const { return name_; }

 protected:
  // Callbacks, in this slot order. Each receives `accept` set to true; a
  // handler that sets it false rejects the event:
  // - a sent message then counts as failed (no answer is awaited);
  // - a response is discarded and its request counts as failed;
  // - a received request is dropped unanswered (serving side, BusServer).
  virtual void MessageSentSuccessfully(messages::BaseMessage& message, bool& accept);
  virtual void HandleResponse(messages::BaseRequestMessage& request,
                              messages::BaseResponseMessage& response, bool& accept);
  // An endpoint that does not serve refuses every request.
  virtual void HandleRequest(messages::BaseRequestMessage& request, bool& accept);

 private:
  using Outgoing = detail::OutgoingRequest;
  enum class Goal { kAllSent, kAllAnswered };

  bool pumpUntil(Goal goal, int64_t deadlineUs);
  bool goalReached(Goal goal) const;
  void attemptConnections(int64_t nowUs);
  void pollOnce(int64_t untilUs);
  void onWritable(Outgoing& request);
  void onReadable(Outgoing& request);
  void onResponse(Outgoing& request, orvo::variant::Variant const& message);
  void failUnfinished(Goal goal);
  Outgoing* find(unsigned long id);

  std::string name_;
  std::vector<std::unique_ptr<Outgoing>> requests_;
};

}  // namespace ipc
}  // namespace orvo
