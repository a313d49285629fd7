// Endpoint registry and dispatch: which handler serves an endpoint, under
// which API versions, and who may call it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "entry/handlers.h"

using RestHandler = RestHandlerFunction*;
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

// Whether an endpoint can change the camera (for any of its methods): such
// an endpoint refuses a request that a browser marks as cross-site.
enum class StateChange : bool { kReadOnly = false, kChanges = true };

struct RestEntry {
  RestHandler handler;
  std::vector<std::string> versions;
  std::vector<RestAuthenticator> authenticators;
  uint32_t authMask;
  StateChange stateChange;
};

using RestRegistry = std::map<std::string, RestEntry>;

// The parts of a request string "<version>/<endpoint>[/<rest>]".
struct RestRequestPath {
  std::string version;   // empty when the string had no "/" before the endpoint
  std::string endpoint;
  std::string rest;      // everything after the second "/", further "/" kept
};

// Splits `request` into `path`. A string without a version is accepted only
// when it names "version" (and is then refused by the version check); false
// otherwise, with `path.endpoint` set to the name to report.
bool splitRestRequest(std::string const& request, RestRequestPath& path);

// The 19 endpoints, in registration order.
void buildRestRegistry(RestRegistry& registry);
// Serves one request; `request` is the text after "id=" in the query string.
int processRestRequest(std::string const& request);
