#include "support/firmware.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "support/virtual_camera.h"

namespace orvo {
namespace test {

namespace {
constexpr char kUploadPrefix[] = "cgi-upload-";
constexpr char kAddr[] = "10.1.2.3";
}  // namespace

std::string makeImage(CameraRoot const& root, std::string const& name, std::string const& version,
                      std::vector<std::string> const& arguments) {
  // The virtual camera's images are signed with its factory root's key,
  // and made on this machine.
  bool const vm = root.isVirtualCamera();
  std::string const out = vm ? root.path() + "/" + name : root.file("/sim/" + name);
  std::vector<std::string> args = {"--version", version};
  args.insert(args.end(), arguments.begin(), arguments.end());
  args.push_back(out);
  ProcessResult made = runCamsim("fwimage", vm ? virtualCameraFactory() : root.path(), args);
  EXPECT_TRUE(made.exited && made.exitCode == 0) << "fwimage failed: " << made.err;
  return out;
}

std::string multipartBody(std::string const& boundary, std::string const& field,
                          std::string const& content) {
  return "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + field +
         "\"; filename=\"image.bin\"\r\nContent-Type: application/octet-stream\r\n\r\n" + content +
         "\r\n--" + boundary + "--\r\n";
}

std::string fileBody(std::string const& path, std::string const& field) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream content;
  content << in.rdbuf();
  return multipartBody("fwtest", field, content.str());
}

CgiResult runUpload(CameraRoot const& root, UploadCall const& call) {
  Environment env{{"REQUEST_METHOD", call.method},
                  {"QUERY_STRING", "id=1.2/" + call.endpoint},
                  {"REMOTE_ADDR", kAddr},
                  {"HTTP_COOKIE", call.cookie},
                  {"CONTENT_TYPE", call.contentType},
                  {"CONTENT_LENGTH", call.contentLength.empty() ? std::to_string(call.body.size())
                                                                : call.contentLength}};
  return runCgi(root, env, call.body, call.program);
}

CgiResult postMultipart(CameraRoot const& root, std::string const& endpoint,
                        std::string const& cookie, std::string const& body) {
  UploadCall call;
  call.endpoint = endpoint;
  call.cookie = cookie;
  call.body = body;
  return runUpload(root, call);
}

HttpResponse curlUpload(SimulatedCamera const& camera, std::string const& endpoint,
                        std::string const& cookieHeader, std::string const& path,
                        std::string const& field) {
  ProcessSpec process;
  process.program = ORVO_CURL;
  process.argv = {"curl", "-sS", "-i", "--noproxy", "*", "--max-time", "60", "-H", cookieHeader,
                  "-F", field + "=@" + path + ";type=application/octet-stream",
                  camera.baseUrl() + targetForWebServer("/api/1.2/" + endpoint)};
  process.env = inheritedEnvironment();
  process.limit = std::chrono::seconds(70);
  ProcessResult result = runProcess(process);
  EXPECT_TRUE(result.exited && result.exitCode == 0) << "curl failed: " << result.err;
  auto response = parseHttpResponse(result.out);
  EXPECT_TRUE(response.has_value()) << "not an HTTP answer: " << result.out;
  return response.value_or(HttpResponse{});
}

ProcessResult curlUploadStatus(SimulatedCamera const& camera, std::string const& endpoint,
                               std::string const& path, std::vector<std::string> const& extra) {
  ProcessSpec process;
  process.program = ORVO_CURL;
  process.argv = {"curl", "-sS", "-o", "/dev/null", "-w", "%{http_code}", "--noproxy", "*", "--max-time", "60"};
  process.argv.insert(process.argv.end(), extra.begin(), extra.end());
  process.argv.insert(process.argv.end(), {"-F", "fwfile=@" + path + ";type=application/octet-stream",
                                           camera.baseUrl() + targetForWebServer("/api/1.2/" + endpoint)});
  process.env = inheritedEnvironment();
  process.limit = std::chrono::seconds(70);
  return runProcess(process);
}

std::vector<std::string> leftoverUploads(CameraRoot const& root) {
  std::vector<std::string> names;
  for (char const* folder : {"/tmp", kPrivateFolder}) {
    DIR* dir = opendir(root.file(folder).c_str());
    if (!dir) continue;
    while (dirent* entry = readdir(dir)) {
      if (std::string(entry->d_name).rfind(kUploadPrefix, 0) == 0) names.push_back(entry->d_name);
    }
    closedir(dir);
  }
  return names;
}

bool stagedImageExists(CameraRoot const& root) { return root.exists(kStagedImage); }

}  // namespace test
}  // namespace orvo
