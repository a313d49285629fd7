// The authenticators that guard endpoints, and the checks behind them.
#pragma once

#include "rest.h"

bool AuthenticateNone(CGIRequest const& request, CGIResponse& response, std::string const& version,
                      std::string const& endpoint, std::string const& rest);
bool AuthenticateByPassword(CGIRequest const& request, CGIResponse& response,
                            std::string const& version, std::string const& endpoint,
                            std::string const& rest);
bool AuthenticateByAuthToken(CGIRequest const& request, CGIResponse& response,
                             std::string const& version, std::string const& endpoint,
                             std::string const& rest);
bool AuthenticateBySession(CGIRequest const& request, CGIResponse& response,
                           std::string const& version, std::string const& endpoint,
                           std::string const& rest);

bool PasswordAuthentication(CGIRequest const& request);
bool AuthTokenAuthentication(CGIRequest const& request);
bool AuthenticateByUUID(CGIRequest const& request, CGIResponse& response);
bool isAdopted();
