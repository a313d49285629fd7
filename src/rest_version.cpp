// GET id=<version>/version: the API version this program speaks.
#include "handlers.h"
#include "rest_log.h"

namespace orvo::rest::version {
constexpr char kLogFile[] = "src/rest_version";
constexpr char kApiVersion[] = "1.2";
}  // namespace orvo::rest::version

ORVO_REST_HANDLER(rest_version_main) {
  using namespace orvo::rest::version;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_version", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  if (request.Method() != "GET") {
    ORVO_LOG("rest_version_main", LOG_ERR, 0, "Cannot process %s request",
             request.Method().c_str());
    return -1;
  }
  orvo::variant::Variant answer;
  answer["version"] = kApiVersion;
  std::string text;
  if (!answer.ToJSON(text, false)) {
    ORVO_LOG("rest_version_main", LOG_ERR, 0, "Failed to convert data to JSON format");
    return -1;
  }
  response.SetStatus(orvo::cgi::kHttpOk);
  response.body << text;
  return response.Commit();
}
