#include "orvo/variant/uri.h"

#include <boost/url/parse.hpp>

namespace orvo {
namespace variant {

namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The parser has already checked every escape is "%" and two hex digits.
std::string percentDecoded(std::string const& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 &&
        hexValue(text[i + 2]) >= 0) {
      out += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

std::string raw(boost::urls::pct_string_view text) { return std::string(text.data(), text.size()); }

void fill(boost::urls::url_view const& parsed, bool decode, URI& uri) {
  auto text = [decode](std::string const& encoded) {
    return decode ? percentDecoded(encoded) : encoded;
  };
  uri.scheme = std::string(parsed.scheme());
  uri.userInfo = text(raw(parsed.encoded_userinfo()));
  // The host as written: escapes in a name stay, an IP literal loses its brackets.
  uri.host = raw(parsed.encoded_host_address());
  uri.port = std::string(parsed.port());
  uri.path = text(raw(parsed.encoded_path()));
  uri.query = text(raw(parsed.encoded_query()));
  uri.fragment = text(raw(parsed.encoded_fragment()));
}

}  // namespace

bool URI::FromString(std::string const& text, bool decode, URI& uri) {
  uri = URI();
  if (text.empty() || text.size() > kMaxUriBytes || text.find('\0') != std::string::npos) {
    return false;
  }
  auto parsed = boost::urls::parse_uri(text);
  if (!parsed) return false;
  fill(*parsed, decode, uri);
  if (uri.scheme.empty() || uri.host.empty()) {
    uri = URI();
    return false;
  }
  return true;
}

}  // namespace variant
}  // namespace orvo
