// GET id=<version>/version: the API version this program speaks.
#include <syslog.h>

#include "handlers.h"
#include "orvo/log.h"

namespace {
constexpr char kModule[] = "src/rest_version";
constexpr char kApiVersion[] = "1.2";
}  // namespace

ORVO_REST_HANDLER(rest_version_main) {
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_version", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  if (request.Method() != "GET") {
    logInternal("orvo_cgi", kModule, "rest_version_main", __LINE__, 3, 0, 0,
                "Cannot process %s request", request.Method().c_str());
    return -1;
  }
  orvo::variant::Variant answer;
  answer["version"] = kApiVersion;
  std::string text;
  if (!answer.ToJSON(text, false)) {
    logInternal("orvo_cgi", kModule, "rest_version_main", __LINE__, 3, 0, 0,
                "Failed to convert data to JSON format");
    return -1;
  }
  response.SetHttpHeader("Status", "200");
  response.body << text;
  return response.Commit();
}
