// GET id=<version>/ap: the wireless access points the camera can see, as the
// network daemon's scan reports them. One scan at a time: a scan takes
// seconds, and a second request meanwhile is refused at once.
#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "messages/daemons.h"
#include "messages/network.h"
#include "shared/bus_client.h"

namespace orvo::rest::ap {

constexpr char kLogFile[] = "src/rest_ap";

namespace {

constexpr char kLockName[] = "rest_ap";
constexpr char kClient[] = "rest_ap";
// The longest wait of any request: a scan visits every channel.
constexpr unsigned kScanTimeoutMs = 30000;

bool GetScanResults(variant::Variant& results) {
  orvo::ipc::messages::ScanAP scan;
  scan.NormalizeFields();
  if (!sendIpcBlockingWrapper(kClient, daemons::kNetworkd, scan, &results, true,
                              kScanTimeoutMs)) {
    ORVO_LOG("GetScanResults", LOG_ERR, 0, "Failed to query ScanAP");
    return false;
  }
  return true;
}

Outcome serveGet(Call const&, variant::Variant& document) {
  if (GetScanResults(document)) return kReply;
  ORVO_LOG("rest_ap_main", LOG_ERR, 0, "Scanning failed");
  return -1;
}

}  // namespace

Endpoint const kEndpoint = {"rest_ap", kLogFile, "rest_ap_main",
                            {documentRow("GET", serveGet, nullptr, "ToJSON() failed", kLockName)},
                            loggedRefusal("Cannot process %s request")};

}  // namespace orvo::rest::ap
