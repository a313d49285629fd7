// The device status document: served by the status endpoint and returned by
// a successful login.
#pragma once

#include "cgi/orvo_cgi.h"
#include "orvo/variant/variant.h"

namespace orvo::rest::status {

// The document for API versions 1.0 and later. False when a source of it
// (description, statistics, network daemon, configuration) fails.
bool RestGetStatus(orvo::cgi::CGIRequest const& request, orvo::variant::Variant& reply);
// The small document of API version 0.1: "fwver", "mac", "model".
bool RestGetStatus_0_1(orvo::variant::Variant& reply);

}  // namespace orvo::rest::status
