// id=<version>/reboot: restarts the device; id=<version>/reset: restores the
// factory settings (the control server then restarts the device). Both only
// queue the work and answer at once.
#include "handlers.h"
#include "messages/daemons.h"
#include "messages/device.h"
#include "orvo/utils/reboot.h"
#include "rest_log.h"
#include "utils.h"

namespace orvo::rest::reset {

constexpr char kLogFile[] = "src/rest_reset";
// The control server restarts the device and never answers, so nothing is
// awaited: one delivery attempt.
constexpr char kResetClient[] = "ResetToDefaults";
constexpr unsigned kResetTimeoutMs = 0;
constexpr int kRebootDelaySeconds = 0;

}  // namespace orvo::rest::reset

// Any method reboots. The answer goes out before the reboot is requested.
ORVO_REST_HANDLER(rest_reboot_main) {
  using namespace orvo::rest::reset;
  (void)request;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_reboot", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  response.SetStatus(orvo::cgi::kHttpOk);
  response.Close();
  orvo::utils::enqueueReboot(kRebootDelaySeconds);
  return 0;
}

ORVO_REST_HANDLER(rest_reset_main) {
  using namespace orvo::rest::reset;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_reset", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  if (request.Method() != "GET") {
    ORVO_LOG("rest_reset_main", LOG_ERR, 0, "Can not process %s request",
             request.Method().c_str());
    return -1;
  }
  orvo::ipc::messages::ResetToDefaults reset;
  reset.NormalizeFields();
  if (!sendIpcBlockingWrapper(kResetClient, orvo::daemons::kCtlServer, reset, nullptr, false,
                              kResetTimeoutMs)) {
    ORVO_LOG("rest_reset_main", LOG_ERR, 0, "Failed to enqueue reset to defaults");
    return -1;
  }
  response.SetStatus(orvo::cgi::kHttpOk);
  return response.Commit();
}
