#include "entry/cross_site.h"

#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace orvo {
namespace rest {

namespace {

bool equals(char const* a, char const* b) { return std::strcmp(a, b) == 0; }

// "<scheme>://<host>" with the scheme http or https; host names ignore case.
bool originIsHost(char const* origin, char const* host) {
  for (char const* scheme : {"http://", "https://"}) {
    std::size_t const length = std::strlen(scheme);
    if (std::strncmp(origin, scheme, length) == 0) return strcasecmp(origin + length, host) == 0;
  }
  return false;
}

}  // namespace

RequestSource requestSourceFromEnvironment() {
  return {std::getenv("HTTP_SEC_FETCH_SITE"), std::getenv("HTTP_ORIGIN"), std::getenv("HTTP_HOST")};
}

bool isCrossSite(RequestSource const& source) {
  if (source.fetchSite &&
      (equals(source.fetchSite, "cross-site") || equals(source.fetchSite, "same-site"))) {
    return true;
  }
  if (!source.origin) return false;
  return !source.host || !*source.host || !originIsHost(source.origin, source.host);
}

}  // namespace rest
}  // namespace orvo
