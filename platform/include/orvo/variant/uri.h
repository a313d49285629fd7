// A parsed absolute URI (RFC 3986), such as a controller address
// "wss://host:port/path".
#pragma once

#include <cstddef>
#include <string>

namespace orvo {
namespace variant {

// Longest text FromString accepts.
constexpr std::size_t kMaxUriBytes = 2048;

class URI {
 public:
  std::string scheme;
  std::string userInfo;
  std::string host;  // without the brackets of an IPv6 literal
  std::string port;  // digits as written; empty when absent
  std::string path;  // "/seg/seg"; empty when absent
  std::string query;
  std::string fragment;

  // Parses `text` into `uri`. It must be absolute, with a scheme and a
  // non-empty host. `decode` true: percent-escapes in the user info, path,
  // query and fragment are decoded. False (and `uri` cleared) when `text`
  // does not parse, breaks those rules, or is longer than kMaxUriBytes.
  static bool FromString(std::string const& text, bool decode, URI& uri);
};

}  // namespace variant
}  // namespace orvo
