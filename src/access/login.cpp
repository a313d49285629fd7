// The "login" and "logout" endpoints: sessions in the session database, the
// "authId" cookie, the status document as the login answer, and failed
// logins recorded for the lockdown.
#include <errno.h>
#include <syslog.h>

#include <cstdio>
#include <ctime>

#include "access/authenticators.h"
#include "access/failed_logins.h"
#include "access/login_cookie.h"
#include "access/session_db.h"
#include "access/session_table.h"
#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "endpoints/status.h"
#include "orvo/utils/clock.h"
#include "orvo/utils/mutex.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/random.h"

using orvo::variant::Variant;

namespace orvo::rest::login {

using namespace orvo::rest::access;

namespace {

constexpr char kLogFile[] = "src/rest_login";

std::string sessionDbPath() { return sessionDbFile(); }

// The database a login adds to. Nothing there: an empty file is created
// and the database starts empty. Something untrusted, too big or broken:
// it is logged and replaced, so that no state of the file keeps logins out.
bool loadForLogin(std::string const& path, SessionTable& db) {
  char const* const fn = "CreateSession";
  std::string problem;
  switch (readSessionTable(path, db, problem)) {
    case SessionDbRead::kRead:
      return true;
    case SessionDbRead::kMissing:
      if (createSessionDb(path)) return true;
      ORVO_LOG(fn, LOG_ERR, errno, "Failed to create authDB");
      return false;
    case SessionDbRead::kRefused:
      break;
  }
  ORVO_LOG(fn, LOG_ERR, 0, "Ignoring '%s': it %s; starting an empty one", kSessionDbPath,
           problem.c_str());
  db.Clear();
  if (clearRefusedEntry(path)) return true;
  ORVO_LOG(fn, LOG_ERR, errno, "Failed to create authDB");
  return false;
}

// Makes room for one more session: expired ones go, then the oldest beyond
// the cap.
void makeRoom(SessionTable& db) {
  db.PruneExpired(orvo::utils::nowMs());
  std::size_t evicted = db.EvictOldest(kMaxSessions - 1);
  if (evicted > 0) {
    ORVO_LOG("CreateSession", LOG_WARNING, 0, "Session limit %zu reached: %zu oldest evicted",
             kMaxSessions, evicted);
  }
}

// Stores a new session for this request's address; its identifier in `id`.
bool CreateSession(CGIRequest const& request, std::string& id) {
  char const* const fn = "CreateSession";
  std::string const& address = request.RemoteAddress();
  if (address.empty()) {
    ORVO_LOG(fn, LOG_ERR, 0, "IP address is missing");
    return false;
  }
  Variant record = makeSessionRecord(address, orvo::utils::nowMs());
  std::string newId = orvo::utils::randomAlphaNumericString("", kSessionIdLength);
  if (newId.empty()) {
    ORVO_LOG(fn, LOG_ERR, 0, "Incorrent UUID generated");
    return false;
  }
  InterProcessMutex mutex(kSessionDbMutex, true);
  if (mutex.acquire() != 0) {
    ORVO_LOG(fn, LOG_ERR, 0, "Failed to acquire db mutex");
    return false;
  }
  std::string const path = sessionDbPath();
  SessionTable db;
  if (!loadForLogin(path, db)) return false;
  makeRoom(db);
  if (!db.Put(newId, record) || !writeSessionTable(path, db)) {
    ORVO_LOG(fn, LOG_ERR, 0, "Failed to save auth database");
    return false;
  }
  if (mutex.release() != 0) {
    ORVO_LOG(fn, LOG_ERR, 0, "Failed to release db lock");
    return false;
  }
  id = newId;
  return true;
}

// The login answer: the status document of the request's API version.
bool PrepareContent(CGIRequest const& request, std::string const& version, std::string& json) {
  Variant document;
  bool built = version == "0.1" ? status::RestGetStatus_0_1(document)
                                 : status::RestGetStatus(request, document);
  if (!built) {
    ORVO_LOG("PrepareContent", LOG_ERR, 0, "Failed to get status");
    return false;
  }
  if (!document.ToJSON(json, false)) {
    ORVO_LOG("PrepareContent", LOG_ERR, 0, "Failed to convert data to JSON format");
    return false;
  }
  return true;
}

bool PrepareCookie(std::string const& id, std::string& cookie) {
  char const* const fn = "PrepareCookie";
  time_t now = ::time(nullptr);
  if (now == static_cast<time_t>(-1)) {
    ORVO_LOG(fn, LOG_ERR, errno, "Failed to get time");
    return false;
  }
  std::string expires;
  switch (formatCookieExpiry(now + kCookieMaxAgeSeconds, expires)) {
    case ExpiryFormat::kOk:
      break;
    case ExpiryFormat::kCalendarFailed:
      ORVO_LOG(fn, LOG_ERR, errno, "Failed to convert calendar time");
      return false;
    case ExpiryFormat::kFormatFailed:
      ORVO_LOG(fn, LOG_ERR, 0, "Failed to format datetime");
      return false;
  }
  cookie = sessionCookie(id, expires);
  return true;
}

int Login(CGIRequest const& request, CGIResponse& response, std::string const& version,
          std::string const& endpoint, std::string const& rest) {
  // A lockdown refuses before any credential is looked at, and is not
  // itself recorded, so it ends a window after the last real failure.
  if (loginLockedDown()) {
    response.SetStatus(cgi::kHttpLocked);
    return response.Commit();
  }
  bool hasToken = request.HasAuthToken();
  auto const& body = request.Json();
  bool hasPassword = body.Has(orvo::variant::VT_STRING, "username") &&
                     body.Has(orvo::variant::VT_STRING, "password");
  bool authenticated = false;
  if (hasToken) {
    authenticated = AuthenticateByAuthToken(request, response, version, endpoint, rest);
  } else if (hasPassword) {
    authenticated = PasswordAuthentication(request);
  }
  if (!authenticated) {
    ORVO_LOG("Login", LOG_INFO, 0, "Authenticate failed");
    ORVO_LOG("Login", LOG_INFO, 0, "method '%s', remote addr '%s'", request.Method().c_str(),
              request.RemoteAddress().c_str());
    appendEntry(request);
    response.SetStatus(cgi::kHttpUnauthorized);
    return response.Commit();
  }
  std::string id;
  if (!CreateSession(request, id)) return response.Commit();
  std::string json;
  if (!PrepareContent(request, version, json)) return response.Commit();
  std::string cookie;
  if (!PrepareCookie(id, cookie)) return response.Commit();
  response.SetStatus(cgi::kHttpOk);
  response.SetHttpHeader("Set-Cookie", cookie);
  response.body << json;
  return response.Commit();
}

// Ends the session named by the cookie, from whatever address.
int Logout(CGIRequest const& request, CGIResponse& response) {
  char const* const fn = "Logout";
  std::string const& id = request.CookieValueByName("authId");
  if (id.empty()) {
    ORVO_LOG(fn, LOG_ERR, 0, "IP address and/or uuid cookie is empty");
    return 0;
  }
  InterProcessMutex mutex(kSessionDbMutex, true);
  if (mutex.acquire() != 0) {
    ORVO_LOG(fn, LOG_ERR, 0, "Failed to acquire db mutex");
    return 0;
  }
  std::string const path = sessionDbPath();
  SessionTable db;
  std::string problem;
  if (readSessionTable(path, db, problem) != SessionDbRead::kRead) {
    if (!problem.empty()) {
      ORVO_LOG(fn, LOG_ERR, 0, "Ignoring '%s': it %s", kSessionDbPath, problem.c_str());
    }
    ORVO_LOG(fn, LOG_ERR, 0, "Failed to read auth database");
    return 0;
  }
  if (!db.Remove(id)) {
    ORVO_LOG(fn, LOG_ERR, 0, "No record for UUID '%s' found", id.c_str());
    return 0;
  }
  if (!writeSessionTable(path, db)) {
    ORVO_LOG(fn, LOG_ERR, 0, "Failed to save auth database");
    return -1;
  }
  if (mutex.release() != 0) {
    ORVO_LOG(fn, LOG_ERR, 0, "Failed to release db mutex");
    return 0;
  }
  response.SetStatus(cgi::kHttpOk);
  return response.Commit();
}

// "login" and "logout" share the entry point.
Outcome servePost(Call const& call, Variant&) {
  if (call.endpoint == "login") {
    return Login(call.request, call.response, call.version, call.endpoint, call.rest);
  }
  if (call.endpoint == "logout") return Logout(call.request, call.response);
  ORVO_LOG("rest_login_main", LOG_ERR, 0, "Unknown service '%s' passed to login/logout handler",
           call.endpoint.c_str());
  return -1;
}

}  // namespace

Endpoint const kEndpoint = {"rest_login", kLogFile, "rest_login_main",
                                {okRow("POST", servePost)},
                                loggedRefusal("Cannot process '%s' request")};

}  // namespace orvo::rest::login
