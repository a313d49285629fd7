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

PENDING_HANDLER(rest_check_main, "rest_check")
PENDING_HANDLER(rest_firmware_main, "rest_firmware")
PENDING_HANDLER(rest_upgrade_main, "rest_upgrade")
