// Firmware uploads in tests: images made with `camsim fwimage`, multipart
// bodies for rest.cgi run directly, curl's own multipart upload through
// lighttpd, and what an upload leaves in the camera root.
#pragma once

#include <string>
#include <vector>

#include "support/camera.h"
#include "support/cgi_run.h"

namespace orvo {
namespace test {

// rest.cgi's own folder in /tmp, and the staged image and its record there.
constexpr char kPrivateFolder[] = "/tmp/.rest";
constexpr char kStagedImage[] = "/tmp/.rest/fwupdate.bin";
constexpr char kStagedRecord[] = "/tmp/.rest/fwupdate.rec";

// `camsim fwimage --root ROOT --version VERSION ARGUMENTS... OUT` with OUT in
// the root's simulator folder (on the virtual camera: with its factory
// root's key, OUT on this machine); returns OUT. A failure fails the
// calling test.
std::string makeImage(CameraRoot const& root, std::string const& name, std::string const& version,
                      std::vector<std::string> const& arguments = {});

// A multipart/form-data body with one file part.
std::string multipartBody(std::string const& boundary, std::string const& field,
                          std::string const& content);
// The file's contents as a multipart body (boundary "fwtest") under the field name.
std::string fileBody(std::string const& path, std::string const& field = "fwfile");

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
  CgiProgram program = CgiProgram::restCgi();
};
CgiResult runUpload(CameraRoot const& root, UploadCall const& call);
// A POST of `body` as multipart/form-data, boundary "fwtest".
CgiResult postMultipart(CameraRoot const& root, std::string const& endpoint,
                        std::string const& cookie, std::string const& body);

// curl -F <field>=@<path> to /api/1.2/<endpoint> with the cookie header.
HttpResponse curlUpload(SimulatedCamera const& camera, std::string const& endpoint,
                        std::string const& cookieHeader, std::string const& path,
                        std::string const& field = "fwfile");

// The same upload as many clients send it, `extra` curl arguments before the
// file (e.g. a cookie header, a rate limit): curl's output is the answer's
// status ("000" when the server closed before answering); a failed transfer
// does not fail the test.
ProcessResult curlUploadStatus(SimulatedCamera const& camera, std::string const& endpoint,
                               std::string const& path, std::vector<std::string> const& extra = {});

// The entries of the root's /tmp and of rest.cgi's folder there whose names
// start with the CGI library's upload prefix.
std::vector<std::string> leftoverUploads(CameraRoot const& root);
bool stagedImageExists(CameraRoot const& root);

}  // namespace test
}  // namespace orvo
