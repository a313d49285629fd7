// id=<version>/reboot: restarts the device; id=<version>/reset: restores the
// factory settings (the control server then restarts the device). Both only
// queue the work and answer at once.
#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "messages/daemons.h"
#include "messages/device.h"
#include "orvo/utils/reboot.h"
#include "shared/bus_client.h"

namespace orvo::rest::reset {

constexpr char kLogFile[] = "src/rest_reset";

namespace {

// The control server restarts the device and never answers, so nothing is
// awaited: one delivery attempt.
constexpr char kResetClient[] = "ResetToDefaults";
constexpr unsigned kResetTimeoutMs = 0;
constexpr int kRebootDelaySeconds = 0;

// Any method reboots. The answer goes out before the reboot is requested.
Outcome serveReboot(Call const& call, variant::Variant&) {
  call.response.SetStatus(cgi::kHttpOk);
  call.response.Close();
  orvo::utils::enqueueReboot(kRebootDelaySeconds);
  return 0;
}

Outcome serveReset(Call const&, variant::Variant&) {
  orvo::ipc::messages::ResetToDefaults reset;
  reset.NormalizeFields();
  if (sendIpcBlockingWrapper(kResetClient, daemons::kCtlServer, reset, nullptr, false,
                             kResetTimeoutMs)) {
    return kReply;
  }
  ORVO_LOG("rest_reset_main", LOG_ERR, 0, "Failed to enqueue reset to defaults");
  return -1;
}

}  // namespace

Endpoint const kReboot = {"rest_reboot", kLogFile, "rest_reboot_main",
                              {okRow(kAnyMethod, serveReboot)}, loggedRefusal(nullptr)};
Endpoint const kReset = {"rest_reset", kLogFile, "rest_reset_main",
                             {okRow("GET", serveReset)},
                             loggedRefusal("Can not process %s request")};

}  // namespace orvo::rest::reset
