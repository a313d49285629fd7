// Weak stand-ins for the status document builders, so that the login
// endpoint links while the status module is not in the build. The real
// definitions in rest_status.cpp take precedence at link time; remove this
// file once that module is in. Until then a login with right credentials
// answers 500 after "Failed to get status", as any status failure does.
#include "rest_status.h"

__attribute__((weak)) bool RestGetStatus(orvo::cgi::CGIRequest const&, orvo::variant::Variant&) {
  return false;
}

__attribute__((weak)) bool RestGetStatus_0_1(orvo::variant::Variant&) { return false; }
