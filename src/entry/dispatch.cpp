#include "entry/dispatch.h"

#include <algorithm>

#include "access/authenticators.h"
#include "cgi/log_tag.h"
#include "entry/cross_site.h"
#include "entry/handlers.h"

namespace {
namespace cgi = orvo::cgi;
constexpr char kLogFile[] = "src/rest";
// 403 with an empty body, before any credential is looked at.
bool refusedAsCrossSite(std::string const& endpoint, CGIResponse& response) {
  orvo::rest::RequestSource const source = orvo::rest::requestSourceFromEnvironment();
  if (!orvo::rest::isCrossSite(source)) return false;
  ORVO_LOG("processRestRequest", LOG_WARNING, 0,
           "Cross-site request to '%s' refused (Sec-Fetch-Site '%s', Origin '%s', Host '%s')",
           endpoint.c_str(), source.fetchSite ? source.fetchSite : "",
           source.origin ? source.origin : "", source.host ? source.host : "");
  response.SetStatus(cgi::kHttpForbidden);
  return true;
}

}  // namespace

bool splitRestRequest(std::string const& request, RestRequestPath& path) {
  std::size_t first = request.find('/');
  if (first == std::string::npos || first + 1 == request.size()) {
    path.endpoint = request.substr(0, first);
    return path.endpoint == "version";
  }
  path.version = request.substr(0, first);
  std::size_t second = request.find('/', first + 1);
  if (second == std::string::npos) {
    path.endpoint = request.substr(first + 1);
  } else {
    path.endpoint = request.substr(first + 1, second - first - 1);
    path.rest = request.substr(second + 1);
  }
  return true;
}

void buildRestRegistry(RestRegistry& registry) {
  RestAuthenticator const none = AuthenticateNone;
  RestAuthenticator const password = AuthenticateByPassword;
  RestAuthenticator const token = AuthenticateByAuthToken;
  RestAuthenticator const session = AuthenticateBySession;
  std::vector<std::string> const all = {"1.2", "1.1", "1.0", "0.1"};
  std::vector<std::string> const since10 = {"1.2", "1.1", "1.0"};
  std::vector<std::string> const since11 = {"1.2", "1.1"};
  std::vector<std::string> const only12 = {"1.2"};
  uint32_t const passwordSessionToken = kAuthPassword | kAuthSession | kAuthToken;
  StateChange const readOnly = StateChange::kReadOnly;
  StateChange const changes = StateChange::kChanges;

  registry["ap"] = {rest_ap_main, all, {session}, kAuthSession, changes};
  registry["connect"] = {rest_connect_main, since10, {password, session, token}, passwordSessionToken, changes};
  registry["check"] = {rest_check_main, since10, {session}, kAuthSession, changes};
  registry["firmware"] = {rest_firmware_main, since10, {session}, kAuthSession, changes};
  registry["login"] = {rest_login_main, all, {none}, kAuthNone, changes};
  registry["logout"] = {rest_login_main, since10, {none}, kAuthNone, changes};
  registry["reboot"] = {rest_reboot_main, since10, {session}, kAuthSession, changes};
  registry["reset"] = {rest_reset_main, since10, {session}, kAuthSession, changes};
  registry["reset_image"] = {rest_reset_image_main, since11, {session}, kAuthSession, changes};
  registry["manage"] = {rest_manage_main, only12, {password, session, token}, passwordSessionToken, changes};
  registry["services"] = {rest_services_main, only12, {session}, kAuthSession, changes};
  registry["settings"] = {rest_settings_main, since10, {session}, kAuthSession, changes};
  registry["setup"] = {rest_setup_main, all, {session}, kAuthSession, changes};
  registry["snapshot"] = {rest_snapshot_main, since10, {password, session, token}, passwordSessionToken, readOnly};
  registry["status"] = {rest_status_main, all, {session}, kAuthSession, readOnly};
  registry["support"] = {rest_support_main, since10, {session}, kAuthSession, readOnly};
  registry["syslog"] = {rest_syslog_main, since10, {session}, kAuthSession, readOnly};
  registry["upgrade"] = {rest_upgrade_main, since10, {session}, kAuthSession, changes};
  registry["version"] = {rest_version_main, since10, {none}, kAuthNone, readOnly};
}

int processRestRequest(std::string const& request) {
  CGIRequest cgiRequest;
  CGIResponse response(cgiRequest, "application/json");

  if (cgiRequest.Method() == "OPTIONS") {
    response.SetStatus(cgi::kHttpOk);
    return response.Commit();
  }
  response.SetStatus(cgi::kHttpInternalError);

  if (request.empty()) {
    ORVO_LOG("processRestRequest", LOG_ERR, 0, "Empty request string from restful request");
    return -1;
  }
  RestRegistry registry;
  buildRestRegistry(registry);

  RestRequestPath path;
  if (!splitRestRequest(request, path)) {
    ORVO_LOG("processRestRequest", LOG_ERR, 0, "Invalid REST request : %s", path.endpoint.c_str());
    return -1;
  }
  auto found = registry.find(path.endpoint);
  if (found == registry.end()) {
    ORVO_LOG("processRestRequest", LOG_ERR, 0, "No RESTful service called '%s' is registered", path.endpoint.c_str());
    return -1;
  }
  RestEntry const& entry = found->second;
  if (path.version == "0.1") ORVO_LOG("processRestRequest", LOG_ERR, 0, "Version 0.1 is deprecated.");
  if (std::find(entry.versions.begin(), entry.versions.end(), path.version) ==
      entry.versions.end()) {
    ORVO_LOG("processRestRequest", LOG_ERR, 0, "Endpoint '%s' doesn't support version '%s'", path.endpoint.c_str(),
             path.version.c_str());
    return -1;
  }
  if (entry.stateChange == StateChange::kChanges && refusedAsCrossSite(path.endpoint, response)) {
    return -1;
  }
  // A password refused because of the login lockdown answers 423, whatever
  // the authenticators after it leave.
  bool lockedOut = false;
  for (RestAuthenticator authenticate : entry.authenticators) {
    if (authenticate(cgiRequest, response, path.version, path.endpoint, path.rest)) {
      return entry.handler(cgiRequest, response, path.version, path.endpoint, path.rest);
    }
    lockedOut = lockedOut || response.Status() == cgi::kHttpLocked;
  }
  ORVO_LOG("authenticate", LOG_INFO, 0, "No way to authenticate the request: Method '%s', remote addr '%s'",
              cgiRequest.Method().c_str(), cgiRequest.RemoteAddress().c_str());
  ORVO_LOG("processRestRequest", LOG_ERR, 0, "Not yet authenticated to process '%s' request", path.endpoint.c_str());
  response.SetStatus(lockedOut ? cgi::kHttpLocked : cgi::kHttpUnauthorized);
  return -1;
}
