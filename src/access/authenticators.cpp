#include "access/authenticators.h"

#include "access/failed_logins.h"
#include "access/session_db.h"
#include "cgi/log_tag.h"
#include "messages/daemons.h"
#include "messages/device.h"
#include "orvo/utils/account.h"
#include "orvo/utils/mutex.h"
#include "orvo/utils/paths.h"
#include "shared/bus_client.h"
#include "shared/log_redact.h"

using orvo::variant::Variant;
using orvo::variant::VT_STRING;

namespace orvo::rest::access {

namespace {

constexpr char kLogFile[] = "src/rest";
constexpr char kAdoptionSource[] = "orvo_manage";

// A string member of the JSON body; a member of another type is missing.
Variant const* bodyString(CGIRequest const& request, char const* name) {
  return request.Json().GetKeyChain(VT_STRING, name, false);
}

bool refuse(CGIResponse& response) {
  response.SetStatus(cgi::kHttpUnauthorized);
  return false;
}

}  // namespace

bool AuthenticateByUUID(CGIRequest const& request, CGIResponse& response) {
  char const* const fn = "AuthenticateByUUID";
  std::string const& address = request.RemoteAddress();
  std::string const& id = request.CookieValueByName("authId");
  if (address.empty() || id.empty()) {
    ORVO_LOG(fn, LOG_ERR, 0, "IP address and/or authId cookie is empty");
    return refuse(response);
  }
  InterProcessMutex mutex(kSessionDbMutex, true);
  // Shared: checks only read, so they run side by side and wait only for a
  // login or logout that is rewriting the file.
  if (mutex.acquireShared() != 0) {
    ORVO_LOG(fn, LOG_ERR, 0, "Failed to acquire db mutex (possibly another process is using db)");
    return refuse(response);
  }
  Variant db;
  std::string problem;
  if (readSessionFor(sessionDbFile(), id, db, problem) !=
      SessionDbRead::kRead) {
    if (!problem.empty()) {
      ORVO_LOG(fn, LOG_ERR, 0, "Ignoring '%s': it %s", kSessionDbPath, problem.c_str());
    }
    ORVO_LOG(fn, LOG_ERR, 0, "Failed to read auth database (possibly not yet authenticated)");
    return refuse(response);
  }
  // Held only while the file is read, not while the record is checked.
  if (mutex.release() != 0) {
    ORVO_LOG(fn, LOG_ERR, 0, "Failed to release db mutex");
    return refuse(response);
  }
  std::string stored;
  switch (checkSession(db, id, address, stored)) {
    case SessionCheck::kAccepted:
      return true;
    case SessionCheck::kNoRecord:
      ORVO_LOG(fn, LOG_ERR, 0, "No record for UUID '%s' found (old auth data received?)", id.c_str());
      break;
    case SessionCheck::kEmptyAddress:
      ORVO_LOG(fn, LOG_ERR, 0, "Empty IP address record");
      break;
    case SessionCheck::kAddressMismatch:
      ORVO_LOG(fn, LOG_ERR, 0, "IP addresses do not match: %s <-> %s (old auth data received?)",
               stored.c_str(), address.c_str());
      break;
  }
  return refuse(response);
}

bool isAdopted() {
  orvo::ipc::messages::GetAvclientState message;
  message["responseExpected"] = true;
  message.NormalizeFields();
  Variant reply;
  if (!sendIpcBlockingWrapper(kAdoptionSource, daemons::kAvclient, message, &reply, true,
                              kBusAnswerLimitMs)) {
    ORVO_LOG("isAdopted", LOG_ERR, 0, "Unable to send IPC to %s", daemons::kAvclient);
    return false;
  }
  return reply.BoolAt("adopted");
}

bool PasswordAuthentication(CGIRequest const& request) {
  char const* const fn = "PasswordAuthentication";
  Variant const* user = bodyString(request, "username");
  if (!user) {
    ORVO_LOG(fn, LOG_ERR, 0, "'username' parameter is missing");
    return false;
  }
  Variant const* password = bodyString(request, "password");
  if (!password) {
    ORVO_LOG(fn, LOG_ERR, 0, "'password' parameter is missing");
    return false;
  }
  std::string const& name = *user;
  bool ok = false;
  if (orvo::utils::authenticatePassword(name, *password, ok) != 0 || !ok) {
    ORVO_LOG(fn, LOG_ERR, 0, "Password check failure for username '%s'", name.c_str());
    return false;
  }
  clearFailedLogins(kLogFile, fn);
  return true;
}

bool AuthTokenAuthentication(CGIRequest const& request) {
  char const* const fn = "AuthTokenAuthentication";
  Variant const* token = bodyString(request, "authToken");
  if (!token) {
    ORVO_LOG(fn, LOG_ERR, 0, "'authToken' parameter is missing");
    return false;
  }
  std::string const& text = *token;
  bool ok = false;
  if (orvo::utils::authenticateToken(text, ok) != 0 || !ok) {
    // The refused token is never echoed: it may be a near miss of the real one.
    ORVO_LOG(fn, LOG_ERR, 0, "authToken '%s' check failure", kSecretMask);
    return false;
  }
  clearFailedLogins(kLogFile, fn);
  return true;
}

}  // namespace orvo::rest::access

using namespace orvo::rest::access;

bool AuthenticateNone(CGIRequest const&, CGIResponse&, std::string const&, std::string const&,
                      std::string const&) {
  return true;
}

// The login lockdown holds for every password check: a guess on `snapshot`,
// `manage` or `connect` counts as a failed login, and during a lockdown no
// password is checked at all (so a right guess cannot lift it either).
bool AuthenticateByPassword(CGIRequest const& request, CGIResponse& response, std::string const&,
                            std::string const&, std::string const&) {
  bool const guess = bodyString(request, "username") && bodyString(request, "password");
  if (guess && loginLockedDown()) {
    ORVO_LOG("AuthenticateByPassword", LOG_WARNING, 0, "Password check refused during lockdown");
    response.SetStatus(orvo::cgi::kHttpLocked);
    return false;
  }
  if (PasswordAuthentication(request)) return true;
  if (guess) appendEntry(request);
  return false;
}

bool AuthenticateByAuthToken(CGIRequest const& request, CGIResponse& response, std::string const&,
                             std::string const&, std::string const&) {
  // The adoption state is asked only when a token came.
  if (request.HasAuthToken() && isAdopted() && AuthTokenAuthentication(request)) return true;
  return refuse(response);
}

bool AuthenticateBySession(CGIRequest const& request, CGIResponse& response, std::string const&,
                           std::string const&, std::string const&) {
  // No database yet: nobody has logged in, and that is no error worth a line.
  if (!fileExists(sessionDbFile(), true)) return false;
  return AuthenticateByUUID(request, response);
}
