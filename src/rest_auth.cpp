#include "rest_auth.h"

#include "btmp.h"
#include "messages/device.h"
#include "orvo/log.h"
#include "orvo/utils/account.h"
#include "orvo/utils/mutex.h"
#include "orvo/utils/paths.h"
#include "session_db.h"
#include "utils.h"

using orvo::variant::Variant;
using orvo::variant::VT_BOOL;
using orvo::variant::VT_STRING;

namespace {

constexpr char kModule[] = "src/rest";
constexpr char kAdoptionSource[] = "orvo_manage";
constexpr char kAvclient[] = "orvo_avclient";
constexpr unsigned kAdoptionTimeoutMs = 5000;

#define AUTH_LOG(function, level, ...) \
  logInternal("orvo_cgi", kModule, (function), __LINE__, (level), 0, 0, __VA_ARGS__)

// A string member of the JSON body; a member of another type is missing.
Variant const* bodyString(CGIRequest const& request, char const* name) {
  return request.Json().GetKeyChain(VT_STRING, name, false);
}

bool refuse(CGIResponse& response) {
  response.SetHttpHeader("Status", "401");
  return false;
}

}  // namespace

bool AuthenticateNone(CGIRequest const&, CGIResponse&, std::string const&, std::string const&,
                      std::string const&) {
  return true;
}

bool AuthenticateByPassword(CGIRequest const& request, CGIResponse&, std::string const&,
                            std::string const&, std::string const&) {
  return PasswordAuthentication(request);
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
  if (!rest_access::fileExists(orvo::utils::devicePath(rest_access::kSessionDbPath), true)) return false;
  return AuthenticateByUUID(request, response);
}

bool AuthenticateByUUID(CGIRequest const& request, CGIResponse& response) {
  char const* const fn = "AuthenticateByUUID";
  std::string const& address = request.RemoteAddress();
  std::string const& id = request.CookieValueByName("authId");
  if (address.empty() || id.empty()) {
    AUTH_LOG(fn, 3, "IP address and/or authId cookie is empty");
    return refuse(response);
  }
  InterProcessMutex mutex(rest_access::kSessionDbMutex, true);
  if (mutex.acquire() != 0) {
    AUTH_LOG(fn, 3, "Failed to acquire db mutex (possibly another process is using db)");
    return refuse(response);
  }
  Variant db;
  if (!rest_access::readSessionDb(orvo::utils::devicePath(rest_access::kSessionDbPath), db)) {
    AUTH_LOG(fn, 3, "Failed to read auth database (possibly not yet authenticated)");
    return refuse(response);
  }
  // Held only while the file is read, not while the record is checked.
  if (mutex.release() != 0) {
    AUTH_LOG(fn, 3, "Failed to release db mutex");
    return refuse(response);
  }
  std::string stored;
  switch (rest_access::checkSession(db, id, address, stored)) {
    case rest_access::SessionCheck::kAccepted:
      return true;
    case rest_access::SessionCheck::kNoRecord:
      AUTH_LOG(fn, 3, "No record for UUID '%s' found (old auth data received?)", id.c_str());
      break;
    case rest_access::SessionCheck::kEmptyAddress:
      AUTH_LOG(fn, 3, "Empty IP address record");
      break;
    case rest_access::SessionCheck::kAddressMismatch:
      AUTH_LOG(fn, 3, "IP addresses do not match: %s <-> %s (old auth data received?)",
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
  if (!sendIpcBlockingWrapper(kAdoptionSource, kAvclient, message, &reply, true,
                              kAdoptionTimeoutMs)) {
    AUTH_LOG("isAdopted", 3, "Unable to send IPC to %s", kAvclient);
    return false;
  }
  Variant const* adopted = reply.GetKeyChain(VT_BOOL, "adopted", false);
  return adopted != nullptr && adopted->AsBool();
}

bool PasswordAuthentication(CGIRequest const& request) {
  char const* const fn = "PasswordAuthentication";
  Variant const* user = bodyString(request, "username");
  if (!user) {
    AUTH_LOG(fn, 3, "'username' parameter is missing");
    return false;
  }
  Variant const* password = bodyString(request, "password");
  if (!password) {
    AUTH_LOG(fn, 3, "'password' parameter is missing");
    return false;
  }
  std::string const& name = *user;
  bool ok = false;
  if (orvo::utils::authenticatePassword(name, *password, ok) != 0 || !ok) {
    AUTH_LOG(fn, 3, "Password check failure for username '%s'", name.c_str());
    return false;
  }
  rest_access::clearFailedLogins(kModule, fn);
  return true;
}

bool AuthTokenAuthentication(CGIRequest const& request) {
  char const* const fn = "AuthTokenAuthentication";
  Variant const* token = bodyString(request, "authToken");
  if (!token) {
    AUTH_LOG(fn, 3, "'authToken' parameter is missing");
    return false;
  }
  std::string const& text = *token;
  bool ok = false;
  if (orvo::utils::authenticateToken(text, ok) != 0 || !ok) {
    AUTH_LOG(fn, 3, "authToken '%s' check failure", text.c_str());
    return false;
  }
  rest_access::clearFailedLogins(kModule, fn);
  return true;
}
