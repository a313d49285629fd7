// Endpoints whose modules are not part of this build yet. Each answers the
// dispatcher's preset 500 with an empty body and says so in the log.
#include "handlers.h"
#include "rest_log.h"

namespace {

int notAvailable(char const* identity, CGIRequest const& request, std::string const& endpoint) {
  openlog(identity, LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);
  logInternal(orvo::rest::kLogTag, "src/rest", identity, __LINE__, LOG_ERR, 0, 0,
              "Endpoint '%s' (%s) is not available in this build", endpoint.c_str(),
              request.Method().c_str());
  return -1;
}

}  // namespace

#define PENDING_HANDLER(name, identity) \
  ORVO_REST_HANDLER(name) {             \
    (void)response;                     \
    (void)version;                      \
    (void)rest;                         \
    return notAvailable(identity, request, endpoint); \
  }

PENDING_HANDLER(rest_ap_main, "rest_ap")
PENDING_HANDLER(rest_connect_main, "rest_connect")
PENDING_HANDLER(rest_reboot_main, "rest_reboot")
PENDING_HANDLER(rest_reset_main, "rest_reset")
PENDING_HANDLER(rest_reset_image_main, "rest_reset_image")
PENDING_HANDLER(rest_manage_main, "rest_manage")
PENDING_HANDLER(rest_services_main, "rest_service")
PENDING_HANDLER(rest_setup_main, "rest_setup")
PENDING_HANDLER(rest_snapshot_main, "rest_snapshot")
PENDING_HANDLER(rest_support_main, "rest_support")
PENDING_HANDLER(rest_syslog_main, "rest_syslog")
