// GET or POST id=<version>/snapshot: the latest still image the video
// pipeline keeps at /tmp/snap.jpeg, sent as it is on disk.
#include "endpoints/snapshot.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <string_view>

#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "orvo/utils/file_handle.h"
#include "orvo/utils/paths.h"

namespace orvo::rest::snapshot {

constexpr char kLogFile[] = "src/rest_snapshot";

namespace {

constexpr char kSnapshotPath[] = "/tmp/snap.jpeg";

// `path` is the device path; the log names it so.
bool SendFile(std::string const& path, cgi::CGIResponse& response) {
  orvo::utils::File file;
  if (!file.Initialize(orvo::utils::devicePath(path), 0, 0)) {
    ORVO_LOG("SendFile", LOG_ERR, errno, "Failed to open file %s", path.c_str());
    return false;
  }
  std::string content;
  if (!file.ReadStringAll(content)) {
    ORVO_LOG("SendFile", LOG_ERR, errno, "Failed to read file %s", path.c_str());
    return false;
  }
  response.SetHttpHeader("Content-Type", ContentTypeOf(path));
  int64_t const size = file.Size();
  if (size < 0) {
    ORVO_LOG("SendFile", LOG_ERR, 0, "Failed to write file %s", path.c_str());
    return false;
  }
  if (size > 0) {
    std::size_t const count = std::min(static_cast<std::size_t>(size), content.size());
    response.body << std::string_view(content.data(), count);
  }
  return true;
}

}  // namespace

std::string ContentTypeOf(std::string const& path) {
  std::string::size_type const dot = path.rfind('.');
  if (dot == std::string::npos || dot + 1 == path.size()) return "application/octet-stream";
  std::string extension = path.substr(dot + 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension == "jpg" || extension == "jpeg" ? "image/jpeg" : "application/octet-stream";
}

namespace {

Outcome serveSnapshot(Call const& call, variant::Variant&) {
  // A link is not the pipeline's picture: /tmp is shared, links are not followed.
  std::string const path = orvo::utils::devicePath(kSnapshotPath);
  if (!orvo::utils::fileExists(path.c_str(), true) || !orvo::utils::isFile(path)) {
    ORVO_LOG("rest_snapshot_main", LOG_WARNING, 0, "File %s does not exist or is not a file",
             kSnapshotPath);
    call.response.SetStatus(cgi::kHttpNotFound);
    return -1;
  }
  if (!SendFile(kSnapshotPath, call.response)) return -1;
  return kReply;
}

}  // namespace

Endpoint const kEndpoint = {"rest_snapshot", kLogFile, "rest_snapshot_main",
                                {okRow("GET", serveSnapshot), okRow("POST", serveSnapshot)},
                                loggedRefusal("Cannot process %s request")};

}  // namespace orvo::rest::snapshot
