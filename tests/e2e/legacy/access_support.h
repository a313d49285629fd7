// What the access tests share: calling rest.cgi as a browser or controller
// would (JSON POST with an address and a cookie), reading its CGI answer,
// the session database, the failed-login records and the camera's clock,
// and a stand-in A/V client that answers whether the camera is adopted.
#pragma once

#include <sys/types.h>
#include <utmp.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "harness/camera.h"

namespace orvo {
namespace e2e {

struct CgiAnswer {
  int exitCode = -1;
  std::string status;                         // the "Status" header, "" when none
  std::map<std::string, std::string> headers;  // by name
  std::string body;
};

// Splits rest.cgi's output into headers and body (CR LF lines, blank line).
CgiAnswer parseCgiAnswer(ProcessResult const& result);

struct CgiCall {
  std::string method = "POST";
  std::string id;                    // the request string after "id="
  std::string body;                  // sent as application/json when not empty
  std::string remoteAddr = "10.1.2.3";
  std::string cookie;                // HTTP_COOKIE when not empty
};

CgiAnswer callCgi(CameraRoot const& root, CgiCall const& call);
// A password login through the open login endpoint.
CgiAnswer login(CameraRoot const& root, std::string const& body,
                std::string const& version = "0.1", std::string const& addr = "10.1.2.3");
std::string credentials(std::string const& user, std::string const& password);

// The identifier of an "authId=<id>; ..." cookie, or "".
std::string cookieId(std::string const& setCookie);

// The database file's text, "" when absent.
std::string readFileText(std::string const& path);

// The session database as JSON: id -> (remote-addr, max-age). Fails the
// test when the file does not parse as an object of such records.
struct SessionRecord {
  std::string remoteAddr;
  unsigned long long maxAge = 0;
};
std::map<std::string, SessionRecord> readSessions(CameraRoot const& root);

// The failed-login records, read straight from the file.
std::vector<struct utmp> readBtmp(CameraRoot const& root);
std::string utmpText(char const* field, std::size_t size);

// `camsim clock --root ROOT <step>` ("+301", "reset").
void moveClock(CameraRoot const& root, std::string const& step);
// `camsim token --root ROOT <value>`.
void setToken(CameraRoot const& root, std::string const& token);

// Every log summary ("<identity> <level> <tag>: <file>:<function>: <text>").
std::vector<std::string> summaries(CameraRoot const& root);
bool hasLine(CameraRoot const& root, std::string const& summary);
std::size_t countLines(CameraRoot const& root, std::string const& textPart);

// Serves "orvo_avclient" for the camera root in a child process, answering
// every request with {"adopted": <adopted>}; stopped when destroyed.
class FakeAvclient {
 public:
  FakeAvclient(CameraRoot const& root, bool adopted);
  ~FakeAvclient();
  FakeAvclient(FakeAvclient const&) = delete;
  FakeAvclient& operator=(FakeAvclient const&) = delete;

 private:
  pid_t pid_ = -1;
};

}  // namespace e2e
}  // namespace orvo
