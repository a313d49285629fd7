// GET id=<version>/upgrade: runs the update tool on the staged image
// /tmp/fwupdate.bin, one upgrade at a time. The tool flashes and restarts
// the device; this handler only reports whether it succeeded.
#include "handlers.h"
#include "orvo/utils/exec.h"
#include "rest_log.h"

namespace orvo::rest::upgrade {
constexpr char kLogFile[] = "src/rest_upgrade";
constexpr char kLockName[] = "rest_upgrade";
constexpr char kUpdateTool[] = "/sbin/fwupdate";
}  // namespace orvo::rest::upgrade

ORVO_REST_HANDLER(rest_upgrade_main) {
  using namespace orvo::rest::upgrade;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_upgrade", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  if (request.Method() != "GET") {
    ORVO_LOG("rest_upgrade_main", LOG_ERR, 0, "Cannot process %s request", request.Method().c_str());
    return -1;
  }
  InterProcessMutex mutex(kLockName, false);
  if (!orvo::cgi::lock(kLockName, mutex, response)) return response.Commit();
  if (orvo::utils::sysExecSimple(kUpdateTool, {"-m"}) != 0) {
    ORVO_LOG("rest_upgrade_main", LOG_ERR, 0, "FW update failed");
    return -1;
  }
  response.SetStatus(orvo::cgi::kHttpOk);
  return response.Commit();
}
