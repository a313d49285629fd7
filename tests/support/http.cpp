#include "support/http.h"

#include "support/openapi_check.h"
#include "support/process.h"
#include "support/virtual_camera.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace orvo {
namespace test {

namespace {

// Stops a hung request; it asserts no latency (tests that bound a latency
// measure it themselves). Under the sanitizers, with several end-to-end
// programs sharing two cores, requests of the load test that logged no
// fault have been seen to go unanswered for more than 10 s.
constexpr char kCurlLimitSeconds[] = "30";
constexpr char kHeaderEnd[] = "\r\n\r\n";

}  // namespace

std::optional<std::string> HttpResponse::header(std::string const& name) const {
  for (auto const& [key, value] : headers) {
    if (strcasecmp(key.c_str(), name.c_str()) == 0) return value;
  }
  return std::nullopt;
}

std::optional<HttpResponse> parseHttpResponse(std::string const& raw) {
  size_t start = 0;
  for (;;) {
    size_t end = raw.find(kHeaderEnd, start);
    if (end == std::string::npos) return std::nullopt;
    HttpResponse response;
    size_t lineEnd = raw.find("\r\n", start);
    response.statusLine = raw.substr(start, lineEnd - start);
    if (response.statusLine.compare(0, 5, "HTTP/") != 0) return std::nullopt;
    size_t space = response.statusLine.find(' ');
    if (space == std::string::npos) return std::nullopt;
    response.status = std::atoi(response.statusLine.c_str() + space + 1);
    if (response.status >= 100 && response.status < 200) {
      start = end + 4;
      continue;
    }
    for (size_t at = lineEnd + 2; at < end + 2;) {
      size_t next = raw.find("\r\n", at);
      std::string line = raw.substr(at, next - at);
      size_t colon = line.find(':');
      if (colon == std::string::npos) return std::nullopt;
      size_t value = line.find_first_not_of(' ', colon + 1);
      response.headers.emplace_back(line.substr(0, colon),
                                    value == std::string::npos ? "" : line.substr(value));
      at = next + 2;
    }
    response.body = raw.substr(end + 4);
    return response;
  }
}

std::string const& testWebServer() {
  static std::string const server = [] {
    // The virtual camera serves through BusyBox's httpd.
    char const* name = std::getenv("ORVO_TEST_WEB_SERVER");
    bool const busybox = onVirtualCamera() || (name && std::string(name) == "busybox");
    return std::string(busybox ? "busybox" : "lighttpd");
  }();
  return server;
}

std::string targetForWebServer(std::string const& target) {
  if (testWebServer() != "busybox" || target.rfind("/api/", 0) != 0) return target;
  std::string id = target.substr(5);
  size_t const query = id.find('?');
  if (query != std::string::npos) id[query] = '&';
  return "/cgi-bin/rest.cgi?id=" + id;
}

std::string statusLineOf(int status) {
  std::string line = "HTTP/1.1 " + std::to_string(status);
  if (testWebServer() == "busybox") return line;
  switch (status) {
    case 200: return line + " OK";
    case 401: return line + " Unauthorized";
    case 500: return line + " Internal Server Error";
    default: return line;
  }
}

HttpResponse httpRequest(std::string const& baseUrl, HttpRequest const& request,
                         std::string const& sourceAddress) {
  ProcessSpec process;
  process.program = ORVO_CURL;
  // -g: no URL globbing; --path-as-is: the target leaves exactly as written;
  // --noproxy: the camera is local whatever proxy the test run has set.
  process.argv = {"curl", "-sS", "-i", "-g", "--path-as-is", "--noproxy", "*", "--max-time", kCurlLimitSeconds,
               "-X", request.method};
  for (auto const& header : request.headers) {
    process.argv.push_back("-H");
    process.argv.push_back(header);
  }
  if (!sourceAddress.empty()) {
    process.argv.push_back("--interface");
    process.argv.push_back(sourceAddress);
  }
  if (request.body) {
    process.argv.push_back("--data-binary");
    process.argv.push_back("@-");
    process.input = *request.body;
  }
  process.argv.push_back(baseUrl + targetForWebServer(request.target));
  process.env = inheritedEnvironment();
  ProcessResult result = runProcess(process);
  EXPECT_TRUE(result.exited && result.exitCode == 0) << "curl failed: " << result.err;
  auto response = parseHttpResponse(result.out);
  EXPECT_TRUE(response.has_value()) << "not an HTTP answer: " << result.out;
  if (response) {
    ApiAnswer answer{requestOfTarget(request.target), request.method, response->status,
                     response->header("Content-Type").value_or(""), response->body};
    if (!answer.request.empty()) checkApiAnswer(answer);
  }
  return response.value_or(HttpResponse{});
}

int freePort() {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) throw std::runtime_error("socket failed");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  bool ok = bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
            getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0;
  close(fd);
  if (!ok) throw std::runtime_error("no free port");
  return ntohs(address.sin_port);
}

}  // namespace test
}  // namespace orvo
