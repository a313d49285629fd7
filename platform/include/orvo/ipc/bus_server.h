// The serving side of the message bus, for daemons. A daemon derives from
// BusServer, overrides HandleRequest and runs serve() in its main loop:
//
//   class NetworkDaemon : public BusServer {
//     void HandleRequest(BaseRequestMessage& request, bool& accept) override {
//       Variant answer;  ...fill it...
//       respond(request, answer);   // now, or later with a copy of `request`
//     }
//   };
//   NetworkDaemon daemon("orvo_networkd");
//   if (!daemon.listen()) return 1;
//   for (;;) daemon.serve(1000);
//
// A request may be answered inside HandleRequest or at any later time, so a
// slow daemon never holds up the others' requests. Answers are matched by
// the request's "from" and "id".
#pragma once

#include <map>
#include <string>
#include <utility>

#include "orvo/ipc/blocking_ipc_handler.h"
#include "orvo/ipc/frame.h"

namespace orvo {
namespace ipc {

// Longest time respond() blocks writing one answer to a client that does not read.
constexpr unsigned kAnswerWriteLimitMs = 1000;
// Connections kept open at once; further ones wait in the listen backlog.
constexpr std::size_t kMaxServerConnections = 256;

class BusServer : public BlockingIpcHandler {
 public:
  explicit BusServer(std::string const& name);
  // Closes every connection and removes the socket file.
  ~BusServer() override;

  // Creates the bus folder when missing and listens on "<bus>/<name>.sock",
  // replacing a socket file left behind by an earlier run.
  bool listen();
  // Waits at most `timeoutMs` for traffic, then accepts connections, reads
  // frames and calls HandleRequest once per complete request. Returns false
  // only when not listening.
  bool serve(unsigned timeoutMs);
  // Sends `response` as the answer to `request` (a request handed to
  // HandleRequest, or a copy of it). "id", "from" and "to" are filled in.
  // False when the client is gone, the request unknown or already answered,
  // or the answer does not fit a frame.
  bool respond(messages::BaseRequestMessage& request, orvo::variant::Variant const& response);
  // Writes prepared bytes on the connection of `request` and forgets the
  // request: for diagnosing how clients cope with broken peers.
  bool sendRaw(messages::BaseRequestMessage& request, std::string const& bytes);
  // Requests received and not answered yet.
  std::size_t pendingRequests() const { return pending_.size(); }

 private:
  struct Connection {
    int fd = -1;
    FrameDecoder decoder;
  };
  using PendingKey = std::pair<std::string, unsigned long>;  // ("from", "id")

  void acceptConnections();
  // False when the connection is finished and must be closed.
  bool readRequests(Connection& connection);
  void dispatch(Connection& connection, orvo::variant::Variant const& message);
  void closeConnection(int fd);
  bool writeAll(int fd, std::string const& bytes);
  int takePending(messages::BaseRequestMessage& request);

  int listenFd_ = -1;
  std::string socketPath_;
  std::map<int, Connection> connections_;
  std::map<PendingKey, int> pending_;
};

}  // namespace ipc
}  // namespace orvo
