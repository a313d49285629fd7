// Endpoint registry and dispatch: which handler serves an endpoint, under
// which API versions, and who may call it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "orvo_cgi.h"

using orvo::cgi::CGIRequest;
using orvo::cgi::CGIResponse;

typedef int (*RestHandler)(CGIRequest const& request, CGIResponse& response,
                           std::string const& version, std::string const& endpoint,
                           std::string const& rest);
typedef bool (*RestAuthenticator)(CGIRequest const& request, CGIResponse& response,
                                  std::string const& version, std::string const& endpoint,
                                  std::string const& rest);

// Bits of RestEntry::authMask.
enum AuthMethod : uint32_t {
  kAuthNone = 1,
  kAuthPassword = 4,
  kAuthToken = 8,
  kAuthSession = 16,
};

struct RestEntry {
  RestHandler handler;
  std::vector<std::string> versions;
  std::vector<RestAuthenticator> authenticators;
  uint32_t authMask;
};

using RestRegistry = std::map<std::string, RestEntry>;

// The 19 endpoints, in registration order.
void buildRestRegistry(RestRegistry& registry);
// Serves one request; `request` is the text after "id=" in the query string.
int processRestRequest(std::string const& request);
