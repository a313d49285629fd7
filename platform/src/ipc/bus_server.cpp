#include "orvo/ipc/bus_server.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "bus_log.h"
#include "socket_io.h"

namespace orvo {
namespace ipc {

using messages::BaseRequestMessage;
using orvo::variant::Variant;

namespace {

constexpr int kListenBacklog = 128;

}  // namespace

BusServer::BusServer(std::string const& name) : BlockingIpcHandler(name) {}

BusServer::~BusServer() {
  for (auto& entry : connections_) close(entry.first);
  if (listenFd_ >= 0) {
    close(listenFd_);
    unlink(socketPath_.c_str());
  }
}

bool BusServer::listen() {
  socketPath_ = socketPathFor(name());
  if (socketPath_.empty() || !detail::makeFolders(busFolder())) {
    ORVO_BUS_WARN("listen", "cannot listen as \"%s\" in %s", name().c_str(), busFolder().c_str());
    return false;
  }
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, socketPath_.c_str(), socketPath_.size() + 1);
  listenFd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  unlink(socketPath_.c_str());  // a file left by a crashed earlier run
  if (listenFd_ < 0 || bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listenFd_, kListenBacklog) != 0) {
    ORVO_BUS_WARN("listen", "cannot listen on %s: %s", socketPath_.c_str(), strerror(errno));
    detail::closeFd(listenFd_);
    return false;
  }
  return true;
}

bool BusServer::serve(unsigned timeoutMs) {
  if (listenFd_ < 0) return false;
  // At the connection limit new clients wait in the backlog; not polling the
  // listener then keeps a full server from spinning.
  short const listenEvents = connections_.size() < kMaxServerConnections ? POLLIN : 0;
  std::vector<pollfd> fds{pollfd{listenFd_, listenEvents, 0}};
  for (auto const& entry : connections_) fds.push_back(pollfd{entry.first, POLLIN, 0});
  timespec limit{static_cast<time_t>(timeoutMs / 1000), static_cast<long>(timeoutMs % 1000) * 1000000};
  if (ppoll(fds.data(), fds.size(), &limit, nullptr) <= 0) return true;
  for (std::size_t i = 1; i < fds.size(); ++i) {
    if (fds[i].revents == 0) continue;
    auto found = connections_.find(fds[i].fd);
    if (found != connections_.end() && !readRequests(found->second)) closeConnection(fds[i].fd);
  }
  if (fds[0].revents != 0) acceptConnections();
  return true;
}

bool BusServer::respond(BaseRequestMessage& request, Variant const& response) {
  Variant answer = response;
  if (answer.Type() != orvo::variant::VT_OBJECT) answer.IsArray(false);
  answer["id"] = request.id();
  answer["from"] = name();
  answer["to"] = request.from();
  std::string frame;
  if (!encodeMessage(answer, frame)) {
    ORVO_BUS_WARN("respond", "answer to %lu from %s does not fit a frame; dropped", request.id(),
                  request.from().c_str());
    // Closing tells the client at once that no answer is coming.
    int const fd = takePending(request);
    if (fd >= 0) closeConnection(fd);
    return false;
  }
  return sendRaw(request, frame);
}

bool BusServer::sendRaw(BaseRequestMessage& request, std::string const& bytes) {
  int const fd = takePending(request);
  if (fd < 0) {
    ORVO_BUS_WARN("respond", "no open request %lu from %s", request.id(), request.from().c_str());
    return false;
  }
  if (writeAll(fd, bytes)) return true;
  ORVO_BUS_WARN("respond", "cannot answer %lu to %s", request.id(), request.from().c_str());
  closeConnection(fd);
  return false;
}

void BusServer::acceptConnections() {
  while (connections_.size() < kMaxServerConnections) {
    int const fd = accept4(listenFd_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) return;
    connections_[fd].fd = fd;
  }
}

bool BusServer::readRequests(Connection& connection) {
  int const fd = connection.fd;
  std::string bytes;
  bool const open = detail::readAvailable(connection.fd, bytes);
  connection.decoder.feed(bytes.data(), bytes.size());
  std::string payload;
  for (;;) {
    FrameDecoder::Status const status = connection.decoder.next(payload);
    if (status == FrameDecoder::Status::kNeedMore) break;
    if (status != FrameDecoder::Status::kFrame) {
      ORVO_BUS_WARN("readRequests", "%s: garbled stream; dropping the connection", name().c_str());
      return false;
    }
    Variant message;
    if (!decodeMessage(payload, message)) {
      ORVO_BUS_WARN("readRequests", "%s: frame is not a JSON object; dropped", name().c_str());
      continue;
    }
    dispatch(connection, message);
    // HandleRequest may have answered, lost the client and closed `connection`.
    if (connections_.find(fd) == connections_.end()) return true;
  }
  return open;
}

void BusServer::dispatch(Connection& connection, Variant const& message) {
  unsigned long id = 0;
  if (!messageId(message, id)) {
    ORVO_BUS_WARN("dispatch", "%s: request without a numeric id; dropped", name().c_str());
    return;
  }
  BaseRequestMessage request(message);
  PendingKey const key{request.from(), request.id()};
  pending_[key] = connection.fd;
  bool accept = true;
  HandleRequest(request, accept);
  if (!accept) pending_.erase(key);
}

void BusServer::closeConnection(int fd) {
  for (auto it = pending_.begin(); it != pending_.end();) {
    it = it->second == fd ? pending_.erase(it) : std::next(it);
  }
  connections_.erase(fd);
  close(fd);
}

bool BusServer::writeAll(int fd, std::string const& bytes) {
  int64_t const deadline = detail::monotonicUs() + int64_t{kAnswerWriteLimitMs} * 1000;
  std::size_t offset = 0;
  while (detail::writeSome(fd, bytes, offset)) {
    if (offset == bytes.size()) return true;
    if (!detail::waitFor(fd, POLLOUT, deadline)) return false;
  }
  return false;
}

int BusServer::takePending(BaseRequestMessage& request) {
  auto found = pending_.find(PendingKey{request.from(), request.id()});
  if (found == pending_.end()) return -1;
  int const fd = found->second;
  pending_.erase(found);
  return fd;
}

}  // namespace ipc
}  // namespace orvo
