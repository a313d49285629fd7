// Browsers on the camera's network are hostile too: a page of another site
// (or of another port of the camera's own address) must not make a logged-in
// browser change the camera. Browsers say where a request comes from in
// "Sec-Fetch-Site" and "Origin"; a client that sends neither (curl, the
// management controller) is not a browser acting for a page, and passes.
#pragma once

#include <string>

namespace orvo {
namespace rest {

// What the browser said about a request, as the web server passes it on
// (HTTP_SEC_FETCH_SITE, HTTP_ORIGIN, HTTP_HOST; null when absent).
struct RequestSource {
  char const* fetchSite = nullptr;
  char const* origin = nullptr;
  char const* host = nullptr;
};

RequestSource requestSourceFromEnvironment();

// True when the browser marks the request as coming from another site or
// another origin: "Sec-Fetch-Site" "cross-site" or "same-site", or an
// "Origin" other than "http://<Host>" or "https://<Host>" ("null" included).
bool isCrossSite(RequestSource const& source);

}  // namespace rest
}  // namespace orvo
