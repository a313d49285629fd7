#include "orvo/ipc/blocking_ipc_handler.h"

#include <poll.h>

#include <algorithm>

#include "bus_log.h"
#include "orvo/ipc/frame.h"
#include "socket_io.h"

namespace orvo {
namespace ipc {

using messages::BaseMessage;
using messages::BaseRequestMessage;
using messages::BaseResponseMessage;
using orvo::variant::Variant;

namespace detail {

struct OutgoingRequest {
  enum class State { kWaitingForDestination, kSending, kAwaitingResponse, kDone, kFailed };

  BaseRequestMessage message;
  std::string destination;
  std::string frame;
  std::size_t written = 0;
  int fd = -1;
  State state = State::kWaitingForDestination;
  bool responseExpected = false;
  bool queueIfUnavailable = true;
  int64_t nextAttemptUs = 0;
  int64_t sentUs = 0;
  int64_t answeredUs = 0;
  bool answered = false;
  Variant response;
  FrameDecoder decoder;

  unsigned long id() { return message.id(); }
  bool finished() const { return state == State::kDone || state == State::kFailed; }
  bool sent() const { return state == State::kAwaitingResponse || state == State::kDone; }
  ~OutgoingRequest() { closeFd(fd); }
};

}  // namespace detail

namespace {

using State = detail::OutgoingRequest::State;

int64_t deadlineAfter(unsigned timeoutMs) {
  return detail::monotonicUs() + static_cast<int64_t>(timeoutMs) * 1000;
}

void fail(detail::OutgoingRequest& request) {
  detail::closeFd(request.fd);
  request.state = State::kFailed;
}

}  // namespace

BlockingIpcHandler::BlockingIpcHandler(std::string const& name) : name_(name) {}

BlockingIpcHandler::~BlockingIpcHandler() = default;

bool BlockingIpcHandler::init() {
  if (isValidEndpointName(name_)) return true;
  ORVO_BUS_WARN("init", "invalid endpoint name \"%s\"", name_.c_str());
  return false;
}

bool BlockingIpcHandler::sendIpcBlocking(std::string const& source, std::string const& destination,
                                         BaseRequestMessage& message, Variant* response, bool wait,
                                         unsigned timeoutMs) {
  int64_t const deadline = deadlineAfter(timeoutMs);
  BlockingIpcHandler endpoint(source);
  if (!endpoint.init() || !endpoint.sendRequest(destination, message)) return false;
  unsigned long const id = message.id();
  bool const expectAnswer = message.responseExpected() && wait;
  Goal const goal = expectAnswer ? Goal::kAllAnswered : Goal::kAllSent;
  // Without waiting, the attempt already made by sendRequest is the only one.
  if (!endpoint.pumpUntil(goal, wait ? deadline : detail::monotonicUs())) return false;
  if (expectAnswer && response) *response = endpoint.getResponseOrEmpty(id);
  return true;
}

bool BlockingIpcHandler::sendRequest(std::string const& destination, BaseRequestMessage& message) {
  if (!isValidEndpointName(destination)) {
    ORVO_BUS_WARN("sendRequest", "invalid destination \"%s\"", destination.c_str());
    return false;
  }
  message["from"] = name_;
  message["to"] = destination;
  unsigned long const id = message.id();
  if (find(id)) {
    ORVO_BUS_WARN("sendRequest", "message id %lu is already in this batch", id);
    return false;
  }
  auto request = std::make_unique<Outgoing>();
  request->destination = destination;
  request->responseExpected = message.responseExpected();
  request->queueIfUnavailable = message.queueIfDestUnavailable();
  if (!encodeMessage(message, request->frame)) {
    ORVO_BUS_WARN("sendRequest", "message %lu to %s does not fit a frame (limit %zu bytes)", id,
                  destination.c_str(), kMaxFramePayloadBytes);
    return false;
  }
  request->message = message;
  requests_.push_back(std::move(request));
  Outgoing& queued = *requests_.back();
  attemptConnections(detail::monotonicUs());
  if (queued.state == State::kSending) onWritable(queued);
  if (queued.state == State::kFailed) {
    // Refused here means never part of the batch: the caller was told.
    requests_.pop_back();
    return false;
  }
  return true;
}

bool BlockingIpcHandler::waitAllRequestsSent(unsigned timeoutMs) {
  return pumpUntil(Goal::kAllSent, deadlineAfter(timeoutMs));
}

bool BlockingIpcHandler::waitAllResponsesReceived(unsigned timeoutMs) {
  return pumpUntil(Goal::kAllAnswered, deadlineAfter(timeoutMs));
}

bool BlockingIpcHandler::allRequestsSucceed() {
  return std::all_of(requests_.begin(), requests_.end(),
                     [](auto const& request) { return request->state == State::kDone; });
}

Variant BlockingIpcHandler::getResponseOrEmpty(unsigned long id) {
  Outgoing* request = find(id);
  return (request && request->answered) ? request->response : Variant();
}

unsigned long BlockingIpcHandler::getLatency(unsigned long id) {
  Outgoing* request = find(id);
  if (!request || !request->answered) return 0;
  return static_cast<unsigned long>((request->answeredUs - request->sentUs) / 1000);
}

void BlockingIpcHandler::MessageSentSuccessfully(BaseMessage&, bool&) {}

void BlockingIpcHandler::HandleResponse(BaseRequestMessage&, BaseResponseMessage&, bool&) {}

void BlockingIpcHandler::HandleRequest(BaseRequestMessage& request, bool& accept) {
  ORVO_BUS_WARN("HandleRequest", "%s serves no requests; dropping %lu from %s", name_.c_str(),
                request.id(), request.from().c_str());
  accept = false;
}

bool BlockingIpcHandler::pumpUntil(Goal goal, int64_t deadlineUs) {
  for (;;) {
    int64_t const now = detail::monotonicUs();
    attemptConnections(now);
    if (goalReached(goal)) break;
    if (now >= deadlineUs) {
      failUnfinished(goal);
      break;
    }
    pollOnce(deadlineUs);
  }
  return std::none_of(requests_.begin(), requests_.end(),
                      [](auto const& request) { return request->state == State::kFailed; });
}

bool BlockingIpcHandler::goalReached(Goal goal) const {
  return std::all_of(requests_.begin(), requests_.end(), [goal](auto const& request) {
    return request->finished() || (goal == Goal::kAllSent && request->sent());
  });
}

void BlockingIpcHandler::attemptConnections(int64_t nowUs) {
  for (auto& request : requests_) {
    if (request->state != State::kWaitingForDestination || request->nextAttemptUs > nowUs) continue;
    switch (detail::connectTo(socketPathFor(request->destination), request->fd)) {
      case detail::ConnectResult::kConnected:
        request->state = State::kSending;
        break;
      case detail::ConnectResult::kUnavailable:
        if (request->queueIfUnavailable) {
          request->nextAttemptUs = nowUs + kRetryIntervalMs * 1000;
          break;
        }
        ORVO_BUS_WARN("attemptConnections", "%s is not listening; message %lu not queued",
                      request->destination.c_str(), request->id());
        fail(*request);
        break;
      case detail::ConnectResult::kFailed:
        ORVO_BUS_WARN("attemptConnections", "cannot connect to %s", request->destination.c_str());
        fail(*request);
        break;
    }
  }
}

void BlockingIpcHandler::pollOnce(int64_t untilUs) {
  std::vector<pollfd> fds;
  std::vector<Outgoing*> owners;
  for (auto& request : requests_) {
    if (request->state == State::kWaitingForDestination) {
      untilUs = std::min(untilUs, request->nextAttemptUs);
    } else if (request->state == State::kSending || request->state == State::kAwaitingResponse) {
      short const events = request->state == State::kSending ? POLLOUT : POLLIN;
      fds.push_back(pollfd{request->fd, events, 0});
      owners.push_back(request.get());
    }
  }
  int64_t const left = std::max<int64_t>(0, untilUs - detail::monotonicUs());
  timespec limit{static_cast<time_t>(left / 1000000), static_cast<long>(left % 1000000) * 1000};
  if (ppoll(fds.data(), fds.size(), &limit, nullptr) <= 0) return;
  for (std::size_t i = 0; i < fds.size(); ++i) {
    if (fds[i].revents == 0) continue;
    if (owners[i]->state == State::kSending) {
      onWritable(*owners[i]);
    } else {
      onReadable(*owners[i]);
    }
  }
}

void BlockingIpcHandler::onWritable(Outgoing& request) {
  if (!detail::writeSome(request.fd, request.frame, request.written)) {
    ORVO_BUS_WARN("onWritable", "connection to %s lost while sending %lu",
                  request.destination.c_str(), request.id());
    fail(request);
    return;
  }
  if (request.written < request.frame.size()) return;
  request.sentUs = detail::monotonicUs();
  request.frame.clear();
  bool accept = true;
  MessageSentSuccessfully(request.message, accept);
  if (!accept) {
    fail(request);
  } else if (request.responseExpected) {
    request.state = State::kAwaitingResponse;
  } else {
    // The daemon still reads the buffered frame after we close.
    detail::closeFd(request.fd);
    request.state = State::kDone;
  }
}

void BlockingIpcHandler::onReadable(Outgoing& request) {
  std::string bytes;
  bool const open = detail::readAvailable(request.fd, bytes);
  request.decoder.feed(bytes.data(), bytes.size());
  std::string payload;
  for (;;) {
    FrameDecoder::Status const status = request.decoder.next(payload);
    if (status == FrameDecoder::Status::kNeedMore) break;
    if (status != FrameDecoder::Status::kFrame) {
      ORVO_BUS_WARN("onReadable", "garbled stream from %s; dropping the connection",
                    request.destination.c_str());
      fail(request);
      return;
    }
    Variant message;
    if (!decodeMessage(payload, message)) {
      ORVO_BUS_WARN("onReadable", "frame from %s is not a JSON object; dropped",
                    request.destination.c_str());
      continue;
    }
    onResponse(request, message);
    if (request.finished()) return;
  }
  if (!open) {
    ORVO_BUS_WARN("onReadable", "%s closed the connection without answering %lu",
                  request.destination.c_str(), request.id());
    fail(request);
  }
}

void BlockingIpcHandler::onResponse(Outgoing& request, Variant const& message) {
  unsigned long id = 0;
  if (!messageId(message, id) || id != request.id()) {
    ORVO_BUS_WARN("onResponse", "answer from %s for unknown id %lu; dropped",
                  request.destination.c_str(), id);
    return;
  }
  BaseResponseMessage response(message);
  bool accept = true;
  HandleResponse(request.message, response, accept);
  detail::closeFd(request.fd);
  if (!accept) {
    request.state = State::kFailed;
    return;
  }
  request.response = message;
  request.answered = true;
  request.answeredUs = detail::monotonicUs();
  request.state = State::kDone;
}

void BlockingIpcHandler::failUnfinished(Goal goal) {
  for (auto& request : requests_) {
    if (request->finished() || (goal == Goal::kAllSent && request->sent())) continue;
    ORVO_BUS_WARN("failUnfinished", "message %lu to %s: %s within the limit", request->id(),
                  request->destination.c_str(),
                  request->sent() ? "no answer" : "not delivered");
    fail(*request);
  }
}

BlockingIpcHandler::Outgoing* BlockingIpcHandler::find(unsigned long id) {
  for (auto& request : requests_) {
    if (request->id() == id) return request.get();
  }
  return nullptr;
}

}  // namespace ipc
}  // namespace orvo
