// Logging in and what it leaves: requests as a browser or a controller sends
// them (JSON POST with an address and a cookie), the session database, the
// failed-login records (a stand-in A/V client that says whether the camera
// is adopted is in stand_ins.h).
#pragma once

#include <sys/types.h>
#include <utmp.h>

#include <map>
#include <string>
#include <vector>

#include "support/camera.h"
#include "support/cgi_run.h"
#include "support/stand_ins.h"

namespace orvo {
namespace test {

// One request to rest.cgi as a web server passes it on.
struct CgiCall {
  std::string method = "POST";
  std::string id;                    // the request string after "id="
  std::string body;                  // sent as application/json when not empty
  std::string remoteAddr = "10.1.2.3";
  std::string cookie;                // HTTP_COOKIE when not empty
  CgiProgram program = CgiProgram::restCgi();
};

CgiResult callCgi(CameraRoot const& root, CgiCall const& call);
// A login through the open login endpoint.
CgiResult login(CameraRoot const& root, std::string const& body,
                std::string const& version = "0.1", std::string const& addr = "10.1.2.3");
std::string credentials(std::string const& user, std::string const& password);
// Logs in as admin/admin by calling rest.cgi; the "authId=<id>" cookie.
// Version 0.1 asks no daemon.
std::string cgiSessionCookie(CameraRoot const& root, std::string const& version = "0.1",
                             std::string const& addr = "10.1.2.3");

// Logs in as admin/admin by calling rest.cgi; the new session's identifier.
std::string loginId(CameraRoot const& root, std::string const& addr = "10.1.2.3");
// GET 0.1/status (a session check that asks no daemon) with the session `id`
// (no cookie when empty).
CgiResult sessionRequest(CameraRoot const& root, std::string const& id,
                         std::string const& addr = "10.1.2.3");

// The identifier of an "authId=<id>; ..." cookie, or "".
std::string cookieId(std::string const& setCookie);
// The identifier of a CGI answer's Set-Cookie header, or "".
std::string cookieId(CgiResult const& answer);

// Logs in as admin/admin through the web server and returns the session's
// "Cookie: authId=..." header.
std::string sessionCookie(SimulatedCamera const& camera);

// The session database as JSON: id -> (remote-addr, max-age). Fails the
// test when the file does not parse as an object of such records.
struct SessionRecord {
  std::string remoteAddr;
  unsigned long long maxAge = 0;
};
constexpr char kSessionDatabase[] = "/tmp/.rest/.rest_0_1.db";
std::map<std::string, SessionRecord> readSessions(CameraRoot const& root);

// The failed-login records, read straight from the file.
constexpr char kFailedLogins[] = "/var/log/btmp";
std::vector<struct utmp> readBtmp(CameraRoot const& root);
std::string utmpText(char const* field, std::size_t size);

}  // namespace test
}  // namespace orvo
