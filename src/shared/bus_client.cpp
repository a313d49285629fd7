#include "shared/bus_client.h"

#include "cgi/log_tag.h"
#include "orvo/ipc/bus.h"

using orvo::ipc::messages::BaseRequestMessage;
using orvo::variant::Variant;

namespace {

constexpr char kLogFile[] = "src/utils";

// The boolean field rule of the message header: absent or not a boolean
// reads as false, and false is then written into the message.
bool readResponseExpected(BaseRequestMessage& message) {
  if (message.Type() != orvo::variant::VT_OBJECT && message.Type() != orvo::variant::VT_ARRAY) {
    message.Free();
    message.IsArray(false);
  }
  Variant* value = message.GetKeyChain(orvo::variant::VT_BOOL, "responseExpected", false);
  if (value) return value->AsBool();
  message["responseExpected"] = false;
  return false;
}

}  // namespace

bool sendIpcBlockingWrapper(std::string const& source, std::string const& destination,
                            BaseRequestMessage& message, Variant* response, bool flag,
                            unsigned int timeoutMs) {
  if (readResponseExpected(message) && response == nullptr) {
    ORVO_LOG("sendIpcBlockingWrapper", LOG_ERR, 0,
             "Request expecting a response, but response variable passed is NULL");
    return false;
  }
  if (!orvo::ipc::BlockingIpcHandler::sendIpcBlocking(orvo::ipc::appendSuffix(source), destination,
                                                       message, response, flag, timeoutMs)) {
    ORVO_LOG("sendIpcBlockingWrapper", LOG_ERR, 0, "Unable to send IPC to %s",
             destination.c_str());
    return false;
  }
  return true;
}

BlockingIpcWrapper::BlockingIpcWrapper(std::string const& name)
    : orvo::ipc::BlockingIpcHandler(orvo::ipc::appendSuffix(name)) {}

BlockingIpcWrapper::BlockingIpcWrapper(char const* name)
    : orvo::ipc::BlockingIpcHandler(orvo::ipc::appendSuffix(name)) {}
