// GET id=<version>/upgrade: runs the update tool on the staged image, one
// upgrade at a time. Only the image an upload staged and recorded in the
// program's own folder is handed over (shared/firmware_upload.h); anything else
// found there is refused, logged and removed, and never reaches the tool.
// The tool flashes and restarts the device; this handler only reports
// whether it succeeded.
#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "orvo/utils/exec.h"
#include "shared/firmware_upload.h"

namespace orvo::rest::upgrade {

constexpr char kLogFile[] = "src/rest_upgrade";
constexpr char kLockName[] = "rest_upgrade";
constexpr char kUpdateTool[] = "/sbin/fwupdate";

// The staged image's path when it may be flashed, else "" (logged).
std::string TrustedImage(PrivateDir& dir) {
  if (!dir.Open()) return "";
  std::string const problem = VerifyStagedImage(dir);
  if (problem.empty()) return dir.Path() + "/" + kStagedFwName;
  ORVO_LOG("rest_upgrade_main", LOG_ERR, 0, "Refusing the staged image '%s': it %s", kStagedFwImage,
           problem.c_str());
  return "";
}

namespace {

Outcome serveGet(Call const&, variant::Variant&) {
  PrivateDir dir;
  std::string const image = TrustedImage(dir);
  if (!image.empty() && orvo::utils::sysExecSimple(kUpdateTool, {"-m", image}) == 0) return kReply;
  ORVO_LOG("rest_upgrade_main", LOG_ERR, 0, "FW update failed");
  return -1;
}

}  // namespace

Endpoint const kEndpoint = {"rest_upgrade", kLogFile, "rest_upgrade_main",
                                {okRow("GET", serveGet, kLockName)},
                                loggedRefusal("Cannot process %s request")};

}  // namespace orvo::rest::upgrade
