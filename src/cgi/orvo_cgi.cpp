#include "cgi/orvo_cgi.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cgi/log_tag.h"

namespace orvo {
namespace cgi {

namespace {

constexpr char kLogFile[] = "src/orvo_cgi";

std::string envOrEmpty(char const* name) {
  char const* value = std::getenv(name);
  return value ? value : "";
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string trimmed(std::string const& text) {
  static char const kBlank[] = " \t\r\n\f\v";
  std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string::npos) return "";
  std::size_t last = text.find_last_not_of(kBlank);
  return text.substr(first, last - first + 1);
}

template <typename Value>
void valuesInKeyOrder(std::multimap<std::string, Value> const& from, std::list<Value>& out) {
  for (auto const& entry : from) out.push_back(entry.second);
}

void valuesOfKey(std::multimap<std::string, std::string> const& from, std::string const& key,
                 std::set<std::string>& out) {
  auto range = from.equal_range(key);
  for (auto it = range.first; it != range.second; ++it) out.insert(it->second);
}

}  // namespace

std::string HtmlDecode(std::string const& text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      int high = hexValue(text[i + 1]);
      int low = hexValue(text[i + 2]);
      if (high >= 0 && low >= 0) {
        out += static_cast<char>(high * 16 + low);
        i += 2;
        continue;
      }
    }
    out += text[i];
  }
  return out;
}

CGIRequest::CGIRequest() {
  cgiDeferMultipart(1);
  cgi = cgiInit();
  cgiDebug(0, 0);
  Parse();
}

void CGIRequest::Parse() {
  contentType = envOrEmpty("CONTENT_TYPE");
  std::size_t semicolon = contentType.find(';');
  if (semicolon != std::string::npos) contentType.erase(semicolon);
  method = envOrEmpty("REQUEST_METHOD");
  remoteUser = envOrEmpty("REMOTE_USER");
  remoteAddress = envOrEmpty("REMOTE_ADDR");

  if (method == "GET") {
    queryString = envOrEmpty("QUERY_STRING");
    ParseQuery();
  } else if (method == "POST") {
    if (contentType == "application/json") {
      ParseJsonBody(4);
    } else {
      ParseForm();
    }
  } else if (method == "PUT") {
    if (contentType == "application/json") ParseJsonBody(3);
  } else {
    ORVO_LOG("Parse", LOG_WARNING, 0, "Unsupported method '%s'",
                method.c_str());
  }
  ParseCookies(std::getenv("HTTP_COOKIE"));
}

void CGIRequest::ParseQuery() {
  std::size_t start = 0;
  while (start <= queryString.size() && !queryString.empty()) {
    std::size_t end = queryString.find('&', start);
    if (end == std::string::npos) end = queryString.size();
    std::string token = queryString.substr(start, end - start);
    std::size_t equals = token.find('=');
    if (equals != std::string::npos && equals > 0) {
      query.emplace(HtmlDecode(token.substr(0, equals)), HtmlDecode(token.substr(equals + 1)));
    }
    start = end + 1;
  }
}

void CGIRequest::ParseForm() const {
  if (char** names = cgi ? cgiGetVariables(cgi) : nullptr) {
    for (char** name = names; *name; ++name) {
      char const* value = cgiGetValue(cgi, *name);
      form.emplace(*name, value ? value : "");
    }
    cgiFreeList(names);
  }
  if (char** names = cgi ? cgiGetFiles(cgi) : nullptr) {
    for (char** name = names; *name; ++name) {
      CgiFileInfo info;
      if (s_file const* file = cgiGetFile(cgi, *name)) {
        info.name = file->name ? file->name : "";
        info.type = file->type ? file->type : "";
        info.filename = file->filename ? file->filename : "";
        info.tmpfile = file->tmpfile ? file->tmpfile : "";
      }
      files.emplace(*name, info);
    }
    cgiFreeList(names);
  }
}

bool CGIRequest::ReadUploads(std::string const& folder) const {
  if (cgi == nullptr || method != "POST" || contentType == "application/json") return true;
  cgiSetTempDir(folder.c_str());
  cgi_error const error = cgiReadMultipart(cgi);
  form.clear();
  files.clear();
  ParseForm();
  return error == CGI_OK;
}

// POST and PUT log the same failure at different levels (4 and 3).
void CGIRequest::ParseJsonBody(int failureLevel) {
  char const* text = cgi ? cgiGetText(cgi) : nullptr;
  if (!text) return;
  if (!json.FromJSON(text, std::strlen(text))) {
    json.Free();
    ORVO_LOG("Parse", failureLevel, 0,
                "Failed to parse JSON string");
  }
}

void CGIRequest::ParseCookies(char const* header) {
  if (!header) return;
  std::string all(header);
  std::size_t start = 0;
  while (start <= all.size()) {
    std::size_t end = all.find(';', start);
    if (end == std::string::npos) end = all.size();
    std::string piece = all.substr(start, end - start);
    start = end + 1;
    if (piece.empty()) continue;
    std::size_t equals = piece.find('=');
    if (equals == std::string::npos || piece.find('=', equals + 1) != std::string::npos) {
      ORVO_LOG("Parse", LOG_WARNING, 0, "Invalid cookie '%s'",
                  piece.c_str());
      continue;
    }
    cookies[trimmed(piece.substr(0, equals))] = HtmlDecode(trimmed(piece.substr(equals + 1)));
  }
}

void CGIRequest::QueryValues(std::list<std::string>& out) const { valuesInKeyOrder(query, out); }

std::string CGIRequest::QueryValueByKey(std::string const& key) const {
  auto it = query.find(key);
  return it == query.end() ? std::string() : it->second;
}

void CGIRequest::QueryValuesByKey(std::string const& key, std::set<std::string>& out) const {
  valuesOfKey(query, key, out);
}

void CGIRequest::QueryKeys(std::set<std::string>& out) const {
  for (auto const& entry : query) out.insert(entry.first);
}

void CGIRequest::FormFields(std::list<std::string>& out) const { valuesInKeyOrder(form, out); }

std::string CGIRequest::FormFieldByName(std::string const& name) const {
  auto it = form.find(name);
  return it == form.end() ? std::string() : it->second;
}

void CGIRequest::FormFieldsByName(std::string const& name, std::set<std::string>& out) const {
  valuesOfKey(form, name, out);
}

void CGIRequest::FormFieldsName(std::set<std::string>& out) const {
  for (auto const& entry : form) out.insert(entry.first);
}

void CGIRequest::FormFilesName(std::list<std::string>& out) const {
  for (auto const& entry : files) out.push_back(entry.first);
}

CGIRequest::CgiFileInfo CGIRequest::FormFileByName(std::string const& name) const {
  auto it = files.find(name);
  return it == files.end() ? CgiFileInfo() : it->second;
}

std::string const& CGIRequest::CookieValueByName(std::string const& name) const {
  static std::string const kNone;
  auto it = cookies.find(name);
  return it == cookies.end() ? kNone : it->second;
}

bool CGIRequest::HasAuthToken() const {
  if (json.Type() != orvo::variant::VT_OBJECT) return false;
  return json.GetKeyChain(orvo::variant::VT_STRING, "authToken", false) != nullptr;
}

}  // namespace cgi
}  // namespace orvo
