// The program's access to the message bus: single blocking requests, and the
// endpoint class that batches of requests go through. Both register under
// "<base name>.<pid>" so that concurrent CGI processes never share a name.
#pragma once

#include <string>

#include "orvo/ipc/blocking_ipc_handler.h"
#include "orvo/ipc/messages/base.h"
#include "orvo/variant/variant.h"

namespace orvo::rest {
// How long one request waits for its daemon (delivery, and the answer when
// one is expected), unless it has its own reason to wait longer.
constexpr unsigned kBusAnswerLimitMs = 5000;
}  // namespace orvo::rest

// Sends `message` from the endpoint `source` (a base name) to the daemon
// `destination` and, when the message expects a response, stores it in
// `*response`. `flag` and `timeoutMs` go to the bus unchanged. A message
// without "responseExpected" is sent with it set to false.
bool sendIpcBlockingWrapper(std::string const& source, std::string const& destination,
                            orvo::ipc::messages::BaseRequestMessage& message,
                            orvo::variant::Variant* response, bool flag, unsigned int timeoutMs);

// A batch endpoint named after a base name ("rest_settings_get" becomes
// "rest_settings_get.<pid>"). It keeps the bus's own callbacks.
class BlockingIpcWrapper : public orvo::ipc::BlockingIpcHandler {
 public:
  explicit BlockingIpcWrapper(std::string const& name);
  explicit BlockingIpcWrapper(char const* name);
  ~BlockingIpcWrapper() override = default;
};
