// Helpers for end-to-end tests of a logged-in simulated camera: a session,
// JSON documents read by key path, and the daemons' state and controls.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "harness/http.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace e2e {

// Logs in as admin/admin and returns the session's "Cookie: authId=..." header.
std::string sessionCookie(SimulatedCamera const& camera);

// Parses a JSON text; a parse failure fails the calling test.
orvo::variant::Variant parsed(std::string const& json);
// The compact JSON of the value at `path` ("a/b"), or "(absent)".
std::string text(orvo::variant::Variant& document, char const* path);
// The member names of an object.
std::set<std::string> keysOf(orvo::variant::Variant const& value);

// `camsim state DAEMON`, parsed.
orvo::variant::Variant daemonState(SimulatedCamera const& camera, char const* daemon);
// `camsim ctl ARGUMENTS...`; a failure fails the calling test.
void control(SimulatedCamera const& camera, std::vector<std::string> const& arguments);

}  // namespace e2e
}  // namespace orvo
