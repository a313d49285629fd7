// The authenticators that guard endpoints, and the checks behind them.
#pragma once

#include <string>

#include "cgi/orvo_cgi.h"

using orvo::cgi::CGIRequest;
using orvo::cgi::CGIResponse;

bool AuthenticateNone(CGIRequest const& request, CGIResponse& response, std::string const& version,
                      std::string const& endpoint, std::string const& rest);
// The password authenticator of the registry: PasswordAuthentication(request)
// under the login lockdown. A wrong password is recorded as a failed login;
// during a lockdown it refuses without checking and leaves 423.
bool AuthenticateByPassword(CGIRequest const& request, CGIResponse& response,
                            std::string const& version, std::string const& endpoint,
                            std::string const& rest);
bool AuthenticateByAuthToken(CGIRequest const& request, CGIResponse& response,
                             std::string const& version, std::string const& endpoint,
                             std::string const& rest);
bool AuthenticateBySession(CGIRequest const& request, CGIResponse& response,
                           std::string const& version, std::string const& endpoint,
                           std::string const& rest);

namespace orvo::rest::access {

// "username" and "password" of the JSON body against the account; a success
// empties the failed-login file.
bool PasswordAuthentication(CGIRequest const& request);
// "authToken" of the JSON body against the camera's token; a success empties
// the failed-login file.
bool AuthTokenAuthentication(CGIRequest const& request);
// The "authId" cookie against the session database and REMOTE_ADDR.
bool AuthenticateByUUID(CGIRequest const& request, CGIResponse& response);
// Whether the A/V client says a controller has adopted the camera.
bool isAdopted();

}  // namespace orvo::rest::access
