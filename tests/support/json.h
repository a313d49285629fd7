// JSON documents in tests: parsed, read by key path, the daemons' state.
#pragma once

#include <set>
#include <string>

#include "orvo/variant/variant.h"
#include "support/camera_root.h"

namespace orvo {
namespace test {

// Parses a JSON text; a parse failure fails the calling test.
orvo::variant::Variant parsed(std::string const& json);
// The compact JSON of the value at `path` ("a/b"), or "(absent)".
std::string text(orvo::variant::Variant& document, char const* path);
// The same for a document just received (a call's value).
inline std::string text(orvo::variant::Variant&& document, char const* path) {
  return text(document, path);
}
// Compact JSON of a value.
std::string json(orvo::variant::Variant const& value);
// The member names of an object.
std::set<std::string> keysOf(orvo::variant::Variant const& value);

// `camsim state DAEMON`, parsed.
orvo::variant::Variant daemonState(CameraRoot const& root, char const* daemon);

}  // namespace test
}  // namespace orvo
