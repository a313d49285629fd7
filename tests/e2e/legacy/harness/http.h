// The simulated camera behind lighttpd (`camsim up` on a free port, `camsim
// down` afterwards) and an HTTP client that runs curl and keeps the answer's
// status line, headers and body exactly as they came.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "harness/camera.h"

namespace orvo {
namespace e2e {

struct HttpResponse {
  std::string statusLine;  // e.g. "HTTP/1.1 200 OK"
  int status = 0;
  std::vector<std::pair<std::string, std::string>> headers;  // in arrival order
  std::string body;

  // The value of the first header of that name (case-insensitive), if any.
  std::optional<std::string> header(std::string const& name) const;
};

// Parses curl -i output: status line, headers up to the blank line, body.
// Interim answers (1xx) before the final one are skipped.
std::optional<HttpResponse> parseHttpResponse(std::string const& raw);

struct HttpRequest {
  std::string method = "GET";
  std::string target;                // path and query, e.g. "/api/1.2/version"
  std::vector<std::string> headers;  // "Name: value"
  std::optional<std::string> body;   // sent as is when set
};

// Sends the request with curl; a transport failure fails the calling test.
// `sourceAddress`, when not empty, is the local address to connect from
// (another loopback address such as "127.0.0.2" looks like another client).
HttpResponse httpRequest(std::string const& baseUrl, HttpRequest const& request,
                         std::string const& sourceAddress = "");

// A running simulated camera with its own root and port.
class SimulatedCamera {
 public:
  SimulatedCamera();
  ~SimulatedCamera();
  SimulatedCamera(SimulatedCamera const&) = delete;
  SimulatedCamera& operator=(SimulatedCamera const&) = delete;

  CameraRoot const& root() const { return root_; }
  int port() const { return port_; }
  std::string const& baseUrl() const { return baseUrl_; }
  HttpResponse request(HttpRequest const& request) const { return httpRequest(baseUrl_, request); }
  HttpResponse requestFrom(std::string const& sourceAddress, HttpRequest const& request) const {
    return httpRequest(baseUrl_, request, sourceAddress);
  }
  HttpResponse get(std::string const& target) const { return request({"GET", target, {}, {}}); }

 private:
  CameraRoot root_;
  int port_ = 0;
  std::string baseUrl_;
};

// Runs `camsim <command> --root <root> <arguments...>`.
ProcessResult runCamsim(std::string const& command, std::string const& root,
                        std::vector<std::string> const& arguments = {});

// A TCP port on 127.0.0.1 that was free a moment ago.
int freePort();

}  // namespace e2e
}  // namespace orvo
