// GET id=<version>/syslog: the system log as a JSON array of its lines.
#include <cerrno>

#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "orvo/utils/logread.h"
#include "orvo/utils/strings.h"

namespace orvo::rest::syslog {

constexpr char kLogFile[] = "src/rest_syslog";

namespace {

void appendChunk(char const* chunk, std::size_t length, void* context) {
  static_cast<std::string*>(context)->append(chunk, length);
}

}  // namespace

// One string per line of the log.
Outcome serveGet(Call const&, variant::Variant& document) {
  orvo::utils::Logread reader;
  if (!reader.Initialize()) {
    ORVO_LOG("rest_syslog_main", LOG_ERR, errno, "Failed to init log reader");
    return -1;
  }
  std::string text;
  reader.ForEach(&appendChunk, &text);
  std::vector<std::string> lines;
  orvo::utils::split(text, "\n", lines);
  document.IsArray(true);
  for (std::string const& line : lines) document.PushBack(line);
  return kReply;
}

Endpoint const kEndpoint = {"rest_syslog", kLogFile, "rest_syslog_main",
                            {documentRow("GET", serveGet)},
                            loggedRefusal("Can not process %s request")};

}  // namespace orvo::rest::syslog
