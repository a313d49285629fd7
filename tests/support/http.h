// An HTTP client that runs curl and keeps the answer's status line, headers
// and body exactly as they came.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>


namespace orvo {
namespace test {

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

// The web server the tests run the camera behind: "lighttpd", or "busybox"
// when ORVO_TEST_WEB_SERVER says so or on the virtual camera.
std::string const& testWebServer();

// BusyBox's httpd rewrites no URL: behind it "/api/<id>[?query]" is asked
// as "/cgi-bin/rest.cgi?id=<id>[&query]". Any other target stays.
std::string targetForWebServer(std::string const& target);

// The status line the test web server writes for `status`: lighttpd's
// carries the reason phrase, BusyBox's only the number.
std::string statusLineOf(int status);

// Sends the request with curl (the target as targetForWebServer makes it); a transport failure fails the calling test.
// `sourceAddress`, when not empty, is the local address to connect from
// (another loopback address such as "127.0.0.2" looks like another client).
HttpResponse httpRequest(std::string const& baseUrl, HttpRequest const& request,
                         std::string const& sourceAddress = "");

// A TCP port on 127.0.0.1 that was free a moment ago.
int freePort();

}  // namespace test
}  // namespace orvo
