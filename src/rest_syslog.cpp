// GET id=<version>/syslog: the system log as a JSON array of its lines.
#include <cerrno>

#include "handlers.h"
#include "orvo/utils/logread.h"
#include "orvo/utils/strings.h"
#include "rest_log.h"

namespace orvo::rest::syslog {

constexpr char kLogFile[] = "src/rest_syslog";

namespace {

void appendChunk(char const* chunk, std::size_t length, void* context) {
  static_cast<std::string*>(context)->append(chunk, length);
}

}  // namespace

}  // namespace orvo::rest::syslog

ORVO_REST_HANDLER(rest_syslog_main) {
  using namespace orvo::rest::syslog;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_syslog", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  if (request.Method() != "GET") {
    ORVO_LOG("rest_syslog_main", LOG_ERR, 0, "Can not process %s request",
             request.Method().c_str());
    return -1;
  }
  orvo::utils::Logread reader;
  if (!reader.Initialize()) {
    ORVO_LOG("rest_syslog_main", LOG_ERR, errno, "Failed to init log reader");
    return -1;
  }
  std::string text;
  reader.ForEach(&appendChunk, &text);
  std::vector<std::string> lines;
  orvo::utils::split(text, "\n", lines);
  orvo::variant::Variant answer;
  answer.IsArray(true);
  for (std::string const& line : lines) answer.PushBack(line);
  std::string json;
  if (!answer.ToJSON(json, false)) {
    ORVO_LOG("rest_syslog_main", LOG_ERR, 0, "Failed to convert data to JSON format");
    return -1;
  }
  response.SetStatus(orvo::cgi::kHttpOk);
  response.body << json;
  return response.Commit();
}
