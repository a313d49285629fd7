// What the firmware tests share: images made with `camsim fwimage`, a
// logged-in multipart upload to rest.cgi run directly or through lighttpd
// with curl, and the camera root's staged image and leftover uploads.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "access_support.h"
#include "harness/http.h"

namespace orvo {
namespace e2e {

constexpr char kStagedImage[] = "/tmp/fwupdate.bin";

// `camsim fwimage --root ROOT --version VERSION ARGUMENTS... OUT` with OUT in
// the root's simulator folder; returns OUT. A failure fails the calling test.
std::string makeImage(CameraRoot const& root, std::string const& name, std::string const& version,
                      std::vector<std::string> const& arguments = {});

// A multipart/form-data body with one file part.
std::string multipartBody(std::string const& boundary, std::string const& field,
                          std::string const& content);

// A session cookie ("authId=...") from a direct login.
std::string directSession(CameraRoot const& root);

// rest.cgi run directly: `method` id=1.2/<endpoint> with the cookie and
// `body` as multipart/form-data (boundary "fwtest") unless `contentType` says
// otherwise; CONTENT_LENGTH is the body's size unless `contentLength` is set.
struct UploadCall {
  std::string method = "POST";
  std::string endpoint;
  std::string cookie;
  std::string body;
  std::string contentType = "multipart/form-data; boundary=fwtest";
  std::string contentLength;
};
ProcessResult runUpload(CameraRoot const& root, UploadCall const& call);
// A POST of `body` as multipart/form-data, boundary "fwtest".
ProcessResult postMultipart(CameraRoot const& root, std::string const& endpoint,
                            std::string const& cookie, std::string const& body);
// The file's contents as a multipart body under the field name.
std::string fileBody(std::string const& path, std::string const& field = "fwfile");

// curl -F <field>=@<path> to /api/1.2/<endpoint> with the cookie header.
HttpResponse curlUpload(SimulatedCamera const& camera, std::string const& endpoint,
                        std::string const& cookieHeader, std::string const& path,
                        std::string const& field = "fwfile");

// The root's /tmp entries whose names start with the CGI library's upload prefix.
std::vector<std::string> leftoverUploads(CameraRoot const& root);
bool stagedImageExists(CameraRoot const& root);

}  // namespace e2e
}  // namespace orvo
