// GET id=<version>/ap: the wireless access points the camera can see, as the
// network daemon's scan reports them. One scan at a time: a scan takes
// seconds, and a second request meanwhile is refused at once.
#include "rest_ap.h"

#include "handlers.h"
#include "messages/daemons.h"
#include "messages/network.h"
#include "orvo/utils/mutex.h"
#include "rest_log.h"
#include "utils.h"

namespace orvo::rest::ap {

constexpr char kLogFile[] = "src/rest_ap";
constexpr char kLockName[] = "rest_ap";
constexpr char kClient[] = "rest_ap";
// The longest wait of any request: a scan visits every channel.
constexpr unsigned kScanTimeoutMs = 30000;

std::string ReplyBody(std::string const& serialised) {
  return serialised.empty() ? "[]" : serialised;
}

namespace {

bool GetScanResults(orvo::variant::Variant& results) {
  orvo::ipc::messages::ScanAP scan;
  scan.NormalizeFields();
  if (!sendIpcBlockingWrapper(kClient, orvo::daemons::kNetworkd, scan, &results, true,
                              kScanTimeoutMs)) {
    ORVO_LOG("GetScanResults", LOG_ERR, 0, "Failed to query ScanAP");
    return false;
  }
  return true;
}

}  // namespace
}  // namespace orvo::rest::ap

ORVO_REST_HANDLER(rest_ap_main) {
  using namespace orvo::rest::ap;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_ap", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  if (request.Method() != "GET") {
    ORVO_LOG("rest_ap_main", LOG_ERR, 0, "Cannot process %s request", request.Method().c_str());
    return -1;
  }
  InterProcessMutex mutex(kLockName, false);
  if (!orvo::cgi::lock(kLockName, mutex, response)) return response.Commit();

  orvo::variant::Variant results;
  if (!GetScanResults(results)) {
    ORVO_LOG("rest_ap_main", LOG_ERR, 0, "Scanning failed");
    return -1;
  }
  std::string text;
  if (!results.ToJSON(text, false)) {
    ORVO_LOG("rest_ap_main", LOG_ERR, 0, "ToJSON() failed");
    return -1;
  }
  response.SetStatus(orvo::cgi::kHttpOk);
  response.body << ReplyBody(text);
  return response.Commit();
}
