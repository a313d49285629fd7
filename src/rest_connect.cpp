// GET or POST id=<version>/connect: the management client stops waiting and
// connects to its controller now.
#include "handlers.h"
#include "messages/daemons.h"
#include "orvo/ipc/messages/base.h"
#include "rest_log.h"
#include "utils.h"

namespace orvo::rest::connect {

constexpr char kLogFile[] = "src/rest_connect";
constexpr unsigned kConnectLimitMs = 5000;

// True when the request was delivered; nobody waits for an answer.
bool InitiateAvclientConnection() {
  orvo::ipc::messages::BaseRequestMessage message;
  message["functionName"] = "CancelWait";
  message["responseExpected"] = false;
  return sendIpcBlockingWrapper("rest_connect", daemons::kAvclient, message, nullptr, true,
                                kConnectLimitMs);
}

}  // namespace orvo::rest::connect

ORVO_REST_HANDLER(rest_connect_main) {
  using namespace orvo::rest::connect;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_connect", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  std::string const method = request.Method();
  if (method != "GET" && method != "POST") {
    ORVO_LOG("rest_connect_main", LOG_ERR, 0, "Cannot process %s request", method.c_str());
    return -1;
  }
  if (!InitiateAvclientConnection()) {
    ORVO_LOG("rest_connect_main", LOG_ERR, 0,
             "Failed to initiate orvo_avclient connection procedure");
    return -1;
  }
  response.SetStatus(orvo::cgi::kHttpOk);
  return response.Commit();
}
