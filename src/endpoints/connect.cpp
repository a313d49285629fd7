// GET or POST id=<version>/connect: the management client stops waiting and
// connects to its controller now.
#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "messages/daemons.h"
#include "orvo/ipc/messages/base.h"
#include "shared/bus_client.h"

namespace orvo::rest::connect {

constexpr char kLogFile[] = "src/rest_connect";

namespace {


// True when the request was delivered; nobody waits for an answer.
bool InitiateAvclientConnection() {
  orvo::ipc::messages::BaseRequestMessage message;
  message["functionName"] = "CancelWait";
  message["responseExpected"] = false;
  return sendIpcBlockingWrapper("rest_connect", daemons::kAvclient, message, nullptr, true,
                                kBusAnswerLimitMs);
}

Outcome serveConnect(Call const&, variant::Variant&) {
  if (InitiateAvclientConnection()) return kReply;
  ORVO_LOG("rest_connect_main", LOG_ERR, 0, "Failed to initiate orvo_avclient connection procedure");
  return -1;
}

}  // namespace

Endpoint const kEndpoint = {"rest_connect", kLogFile, "rest_connect_main",
                            {okRow("GET", serveConnect), okRow("POST", serveConnect)},
                            loggedRefusal("Cannot process %s request")};

}  // namespace orvo::rest::connect
