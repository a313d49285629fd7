#include "orvo/variant/uri.h"

#include <dlfcn.h>
#include <uriparser/Uri.h>

#include "orvo/log.h"

namespace orvo {
namespace variant {

namespace {

using ParseFunction = int (*)(UriUriA*, char const*, char const**);
using FreeFunction = void (*)(UriUriA*);

struct UriParserLibrary {
  ParseFunction parse = nullptr;
  FreeFunction release = nullptr;
};

// Loaded once per process; stays loaded until exit.
UriParserLibrary const& uriParserLibrary() {
  static UriParserLibrary const library = [] {
    UriParserLibrary loaded;
    void* handle = dlopen(kUriParserLibrary, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
      logInternal("orvo_variant", "orvo/variant/uri", "FromString", __LINE__, LOG_ERR, 0, 0,
                  "Cannot load %s: %s", kUriParserLibrary, dlerror());
      return loaded;
    }
    loaded.parse = reinterpret_cast<ParseFunction>(dlsym(handle, "uriParseSingleUriA"));
    loaded.release = reinterpret_cast<FreeFunction>(dlsym(handle, "uriFreeUriMembersA"));
    if (loaded.parse == nullptr || loaded.release == nullptr) loaded = UriParserLibrary();
    return loaded;
  }();
  return library;
}

std::string rangeText(UriTextRangeA const& range) {
  if (range.first == nullptr || range.afterLast == nullptr) return "";
  return std::string(range.first, range.afterLast);
}

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

std::string pathText(UriUriA const& parsed) {
  std::string path;
  for (UriPathSegmentA const* segment = parsed.pathHead; segment; segment = segment->next) {
    path += "/" + rangeText(segment->text);
  }
  return path;
}

void fill(UriUriA const& parsed, bool decode, URI& uri) {
  auto text = [decode](std::string const& raw) { return decode ? percentDecoded(raw) : raw; };
  uri.scheme = rangeText(parsed.scheme);
  uri.userInfo = text(rangeText(parsed.userInfo));
  uri.host = rangeText(parsed.hostText);
  uri.port = rangeText(parsed.portText);
  uri.path = text(pathText(parsed));
  uri.query = text(rangeText(parsed.query));
  uri.fragment = text(rangeText(parsed.fragment));
}

}  // namespace

bool URI::FromString(std::string const& text, bool decode, URI& uri) {
  uri = URI();
  if (text.empty() || text.size() > kMaxUriBytes || text.find('\0') != std::string::npos) {
    return false;
  }
  UriParserLibrary const& library = uriParserLibrary();
  if (library.parse == nullptr) return false;
  UriUriA parsed;
  char const* errorAt = nullptr;
  if (library.parse(&parsed, text.c_str(), &errorAt) != URI_SUCCESS) return false;
  fill(parsed, decode, uri);
  library.release(&parsed);
  if (uri.scheme.empty() || uri.host.empty()) {
    uri = URI();
    return false;
  }
  return true;
}

}  // namespace variant
}  // namespace orvo
