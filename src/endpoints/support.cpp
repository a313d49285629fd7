// GET id=<version>/support: a diagnostic bundle made by the platform's
// support tool, sent as a file download.
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>

#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "orvo/utils/exec.h"
#include "orvo/utils/file_handle.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/strings.h"
#include "orvo/variant/camera_info.h"
#include "shared/scoped_removal.h"

namespace orvo::rest::support {

constexpr char kLogFile[] = "src/rest_support";

namespace {

constexpr char kScratchTemplate[] = "/tmp/support-cgi-XXXXXX";
constexpr char kSupportTool[] = "/bin/support";

// "support-<major version>-<hardware address>.sup".
std::string bundleName(orvo::variant::CameraInfo& info) {
  std::string const version = info.version();
  return "support-" + version.substr(0, version.find('.')) + "-" + info.hwaddr() + ".sup";
}

// Runs the tool, then sends what it wrote and removes it. A bundle that
// cannot be read stays, and so does its folder.
Outcome sendBundle(std::string const& path, std::string const& name, cgi::CGIResponse& response) {
  if (orvo::utils::sysExecSimple(kSupportTool, {path}) != 0) {
    ORVO_LOG("rest_support_main", LOG_ERR, 0, "Failed to execute '%s %s'", kSupportTool,
             path.c_str());
    return -1;
  }
  orvo::utils::File file;
  if (!file.Initialize(path, 0, 0)) {
    ORVO_LOG("rest_support_main", LOG_ERR, errno, "Failed to initialize file '%s'",
             path.c_str());
    return -1;
  }
  std::string bundle;
  if (!file.ReadStringAll(bundle)) {
    ORVO_LOG("rest_support_main", LOG_ERR, errno, "Failed to read file '%s'", path.c_str());
    return -1;
  }
  response.SetHttpHeader("Content-Type", "application/force-download");
  response.SetHttpHeader("Content-Disposition", "attachment; filename=" + name);
  response.body << bundle;
  file.Close();
  unlink(path.c_str());
  return kReply;
}

Outcome serveGet(Call const& call, variant::Variant&) {
  orvo::variant::CameraInfo info;
  if (!info.Init()) {
    ORVO_LOG("rest_support_main", LOG_ERR, 0, "Failed to initialize camera info manager");
    return -1;
  }
  std::string scratch = orvo::utils::devicePath(kScratchTemplate);
  if (mkdtemp(&scratch[0]) == nullptr) {
    ORVO_LOG("rest_support_main", LOG_ERR, errno, "Failed to mkdtemp()");
    return -1;
  }
  // Empty after a success; what a failed tool left keeps it, silently.
  ScopedRemoval const folder(scratch);
  std::string const name = bundleName(info);
  return sendBundle(orvo::utils::format("%s/%s", scratch.c_str(), name.c_str()), name,
                    call.response);
}

}  // namespace

Endpoint const kEndpoint = {"rest_support", kLogFile, "rest_support_main",
                                {okRow("GET", serveGet)},
                                loggedRefusal("Can not process %s request")};

}  // namespace orvo::rest::support
