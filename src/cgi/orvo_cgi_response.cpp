#include <strings.h>
#include <unistd.h>

#include "cgi/log_tag.h"
#include "cgi/orvo_cgi.h"
#include "orvo/utils/file.h"

namespace orvo {
namespace cgi {

CGIResponse::CGIResponse(CGIRequest const& request) : cgi(request.Handle()) {}

CGIResponse::CGIResponse(CGIRequest const& request, std::string const& contentType)
    : CGIResponse(request) {
  SetHttpHeader("Content-Type", contentType);
}

CGIResponse::~CGIResponse() { Close(); }

void CGIResponse::SetHttpHeader(std::string const& name, std::string const& value) {
  headers[name] = value;
}

std::string CGIResponse::Status() const {
  auto const found = headers.find("Status");
  return found == headers.end() ? std::string() : found->second;
}

int CGIResponse::Commit() {
  if (committed) return 0;
  std::string const& text = body.str();
  std::string out;
  out.reserve(text.size() + 128);
  auto append = [&out](std::string const& name, std::string const& value) {
    out += name;
    out += ": ";
    out += value;
    out += "\r\n";
  };
  // "Status" leaves first: BusyBox's httpd reads the status only from the
  // first line and answers 200 otherwise. The others follow in name order.
  auto const status = headers.find("Status");
  if (status != headers.end()) append(status->first, status->second);
  for (auto const& header : headers) {
    if (header.first == "Status") continue;
    // An empty answer carries no content type.
    bool isContentType = strcasecmp(header.first.c_str(), "content-type") == 0;
    if (isContentType && (header.second.empty() || text.empty())) continue;
    append(header.first, header.second);
  }
  out += "Connection: close\r\n\r\n";
  out += text;
  // One write(2) of the whole answer, so standard output's stdio buffer is
  // never set up (the redirect, the one stdio writer, flushes its own).
  orvo::utils::writeAll(STDOUT_FILENO, out);
  committed = true;
  return 0;
}

void CGIResponse::Close() {
  Commit();
  if (cgi) {
    cgiFree(cgi);
    cgi = nullptr;
  }
}

bool CGIResponse::Redirect(std::string const& url) {
  if (url.empty()) return false;
  cgiRedirect(url.c_str());
  return true;
}

bool lock(std::string const& name, InterProcessMutex& mutex, CGIResponse& response) {
  if (mutex.acquire() == 0) return true;
  logInternal(orvo::rest::kLogTag, "src/orvo_cgi", "lock", __LINE__, LOG_WARNING, 0, 0,
              "'%s' is already running",
              name.c_str());
  response.SetStatus(kHttpTooManyRequests);
  return false;
}

}  // namespace cgi
}  // namespace orvo
