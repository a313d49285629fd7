// GET id=<version>/services: which optional services run.
// PUT id=<version>/services: start (true) or stop (false) them.
// The web server itself ("http") is never listed nor touched from here: a
// client must not be able to switch off the interface it talks through.
#include "handlers.h"
#include "messages/daemons.h"
#include "messages/device.h"
#include "orvo/utils/services.h"
#include "rest_log.h"
#include "utils.h"

using orvo::variant::Variant;

namespace orvo::rest::services {

constexpr char kLogFile[] = "src/rest_services";

namespace {

constexpr char kUntouchable[] = "http";
constexpr char kIpcClient[] = "orvo_service";
constexpr unsigned kIpcTimeoutMs = 5000;

int handle_get(CGIResponse& response) {
  Variant answer;
  answer.IsArray(false);
  for (std::string const& name : orvo::utils::ListServices()) {
    if (name == kUntouchable) continue;
    int state = 0;
    if (!orvo::utils::ServiceStatus(name, state)) {
      ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to get %s status", name.c_str());
      continue;
    }
    answer[name] = state != 0;
  }
  std::string json;
  if (!answer.ToJSON(json, false)) {
    ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to convert data");
    response.SetStatus(cgi::kHttpInternalError);
    return -1;
  }
  response.SetStatus(cgi::kHttpOk);
  response.body << json;
  return response.Commit();
}

bool sendServiceRequest(std::string const& name, bool start) {
  orvo::ipc::messages::StartService startMessage;
  orvo::ipc::messages::StopService stopMessage;
  orvo::ipc::messages::BaseRequestMessage& message =
      start ? static_cast<orvo::ipc::messages::BaseRequestMessage&>(startMessage) : stopMessage;
  message["service"] = name;
  message.NormalizeFields();
  return sendIpcBlockingWrapper(kIpcClient, daemons::kCtlServer, message, nullptr, true,
                                kIpcTimeoutMs);
}

// Best effort: a service whose request is not delivered does not stop the
// others, and the answer is 200 either way.
int handle_put(CGIRequest const& request, CGIResponse& response) {
  Variant const& body = request.Json();
  for (std::string const& name : orvo::utils::ListServices()) {
    if (name == kUntouchable) continue;
    if (!body.Has(orvo::variant::VT_BOOL, name.c_str())) continue;
    if (!sendServiceRequest(name, body.BoolAt(name.c_str()))) {
      ORVO_LOG("handle_put", LOG_WARNING, 0, "Unable to send IPC request");
    }
  }
  response.SetStatus(cgi::kHttpOk);
  return response.Commit();
}

}  // namespace

}  // namespace orvo::rest::services

ORVO_REST_HANDLER(rest_services_main) {
  using namespace orvo::rest::services;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_service", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  std::string const method = request.Method();
  if (method == "GET") return handle_get(response);
  if (method == "PUT") return handle_put(request, response);
  ORVO_LOG("rest_services_main", LOG_ERR, 0, "Unsupported method '%s'", method.c_str());
  return response.Commit();
}
