// GET id=<version>/services: which optional services run.
// PUT id=<version>/services: start (true) or stop (false) them.
// The web server itself ("http") is never listed nor touched from here: a
// client must not be able to switch off the interface it talks through.
#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "messages/daemons.h"
#include "messages/device.h"
#include "orvo/utils/services.h"
#include "shared/bus_client.h"

using orvo::variant::Variant;

namespace orvo::rest::services {

constexpr char kLogFile[] = "src/rest_services";

namespace {

constexpr char kUntouchable[] = "http";
constexpr char kIpcClient[] = "orvo_service";

Outcome handle_get(Call const&, Variant& document) {
  document.IsArray(false);
  for (std::string const& name : orvo::utils::ListServices()) {
    if (name == kUntouchable) continue;
    int state = 0;
    if (!orvo::utils::ServiceStatus(name, state)) {
      ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to get %s status", name.c_str());
      continue;
    }
    document[name] = state != 0;
  }
  return kReply;
}

bool sendServiceRequest(std::string const& name, bool start) {
  orvo::ipc::messages::StartService startMessage;
  orvo::ipc::messages::StopService stopMessage;
  orvo::ipc::messages::BaseRequestMessage& message =
      start ? static_cast<orvo::ipc::messages::BaseRequestMessage&>(startMessage) : stopMessage;
  message["service"] = name;
  message.NormalizeFields();
  return sendIpcBlockingWrapper(kIpcClient, daemons::kCtlServer, message, nullptr, true,
                                kBusAnswerLimitMs);
}

// Best effort: a service whose request is not delivered does not stop the
// others, and the answer is 200 either way.
Outcome handle_put(Call const& call, Variant&) {
  Variant const& body = call.request.Json();
  for (std::string const& name : orvo::utils::ListServices()) {
    if (name == kUntouchable) continue;
    if (!body.Has(orvo::variant::VT_BOOL, name.c_str())) continue;
    if (!sendServiceRequest(name, body.BoolAt(name.c_str()))) {
      ORVO_LOG("handle_put", LOG_WARNING, 0, "Unable to send IPC request");
    }
  }
  return kReply;
}

}  // namespace

Endpoint const kEndpoint = {"rest_service", kLogFile, "rest_services_main",
                            {documentRow("GET", handle_get, "handle_get", "Failed to convert data"),
                             okRow("PUT", handle_put)},
                            {"Unsupported method '%s'", cgi::kHttpInternalError, 0}};

}  // namespace orvo::rest::services
