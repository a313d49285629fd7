// The one HTTP request this process serves, parsed once, and the one answer
// it gives, written once.
#pragma once

#include <list>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "cgi.h"
#include "orvo/utils/mutex.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace cgi {

// The statuses this program answers with, as the "Status" header carries
// them (a bare number).
constexpr char kHttpOk[] = "200";
constexpr char kHttpBadRequest[] = "400";
constexpr char kHttpUnauthorized[] = "401";
constexpr char kHttpForbidden[] = "403";
constexpr char kHttpNotFound[] = "404";
constexpr char kHttpMethodNotAllowed[] = "405";
constexpr char kHttpLocked[] = "423";
constexpr char kHttpTooManyRequests[] = "429";
constexpr char kHttpInternalError[] = "500";

// Percent-decoding only: "+" stays "+", a malformed escape is kept as text.
std::string HtmlDecode(std::string const& text);

class CGIRequest {
 public:
  struct CgiFileInfo {
    std::string name;      // form field name
    std::string type;      // MIME type sent by the client
    std::string filename;  // file name sent by the client
    std::string tmpfile;   // where the upload waits on the device
  };

  // Reads the CGI environment and parses it, and a JSON or form body. A
  // multipart body stays unread on the input until ReadUploads.
  CGIRequest();
  CGIRequest(CGIRequest const&) = delete;
  CGIRequest& operator=(CGIRequest const&) = delete;

  std::string Method() const { return method; }
  std::string ContentType() const { return contentType; }
  std::string QueryString() const { return queryString; }
  std::string RemoteUser() const { return remoteUser; }
  std::string const& RemoteAddress() const { return remoteAddress; }

  void QueryValues(std::list<std::string>& out) const;
  std::string QueryValueByKey(std::string const& key) const;
  void QueryValuesByKey(std::string const& key, std::set<std::string>& out) const;
  void QueryKVP(std::multimap<std::string, std::string>& out) const { out = query; }
  void QueryKeys(std::set<std::string>& out) const;

  void FormFields(std::list<std::string>& out) const;
  std::string FormFieldByName(std::string const& name) const;
  void FormFieldsByName(std::string const& name, std::set<std::string>& out) const;
  void FormFieldsName(std::set<std::string>& out) const;
  void FormKVP(std::multimap<std::string, std::string>& out) const { out = form; }

  void FormFilesName(std::list<std::string>& out) const;
  CgiFileInfo FormFileByName(std::string const& name) const;
  void FormFilesKVP(std::multimap<std::string, CgiFileInfo>& out) const { out = files; }

  void CookiesKVP(std::map<std::string, std::string>& out) const { out = cookies; }
  std::string const& CookieValueByName(std::string const& name) const;

  // Reads a multipart body left on the input: its files are stored in
  // `folder` and its fields and files then seen by the accessors. Only the
  // endpoints that take files ask, once the caller is known, so nobody else
  // can make this program store a body. False when the body is refused
  // (like one cgiInit refuses): nothing of it is kept then.
  bool ReadUploads(std::string const& folder) const;

  bool HasAuthToken() const;
  orvo::variant::Variant const& Json() const { return json; }

  // The library handle; the response takes it over and releases it.
  s_cgi* Handle() const { return cgi; }

 private:
  void Parse();
  void ParseQuery();
  void ParseForm() const;
  void ParseJsonBody(int failureLevel);
  void ParseCookies(char const* header);

  s_cgi* cgi = nullptr;
  std::multimap<std::string, std::string> query;
  // Filled again by ReadUploads, the one part of parsing done late.
  mutable std::multimap<std::string, std::string> form;
  mutable std::multimap<std::string, CgiFileInfo> files;
  std::map<std::string, std::string> cookies;
  orvo::variant::Variant json;
  std::string queryString;
  std::string contentType;
  std::string method;
  std::string remoteUser;
  std::string remoteAddress;
};

// The answer's body, kept until the commit. Text only: a string stream
// would bring the locale machinery into the program for an append.
class ResponseBody {
 public:
  ResponseBody& operator<<(std::string_view text) {
    text_.append(text);
    return *this;
  }
  std::string const& str() const { return text_; }

 private:
  std::string text_;
};

class CGIResponse {
 public:
  explicit CGIResponse(CGIRequest const& request);
  CGIResponse(CGIRequest const& request, std::string const& contentType);
  ~CGIResponse();
  CGIResponse(CGIResponse const&) = delete;
  CGIResponse& operator=(CGIResponse const&) = delete;

  void SetHttpHeader(std::string const& name, std::string const& value);
  // The "Status" header: one of the kHttp* statuses.
  void SetStatus(char const* status) { SetHttpHeader("Status", status); }
  // The "Status" header as it stands ("" before any was set).
  std::string Status() const;
  // Writes headers and body to standard output, once; always returns 0.
  int Commit();
  // Commit(), then release the CGI library handle.
  void Close();
  bool Redirect(std::string const& url);

  ResponseBody body;

 private:
  s_cgi* cgi;
  std::map<std::string, std::string> headers;
  bool committed = false;
};

// Single-instance guard: true when `mutex` (constructed by the caller with
// `name` and no waiting) could be taken; otherwise logs, sets 429, false.
bool lock(std::string const& name, InterProcessMutex& mutex, CGIResponse& response);

}  // namespace cgi
}  // namespace orvo
