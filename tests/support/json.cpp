#include "support/json.h"

#include <gtest/gtest.h>

#include "support/camera.h"

namespace orvo {
namespace test {

using orvo::variant::Variant;

Variant parsed(std::string const& json) {
  Variant value;
  EXPECT_TRUE(value.FromJSON(json)) << json;
  return value;
}

std::string text(Variant& document, char const* path) {
  Variant* value = document.GetKeyChain(orvo::variant::VT_ANY, path, false);
  std::string out = "(absent)";
  if (value) value->ToJSON(out, false);
  return out;
}

std::string json(Variant const& value) {
  std::string text;
  value.ToJSON(text, false);
  return text;
}

std::set<std::string> keysOf(Variant const& value) {
  std::set<std::string> keys;
  for (auto it = value.str_begin(); it != value.str_end(); ++it) keys.insert(it->first);
  return keys;
}

Variant daemonState(CameraRoot const& root, char const* daemon) {
  ProcessResult state = runCamsim("state", root, {daemon});
  EXPECT_EQ(state.exitCode, 0) << state.err;
  return parsed(state.out);
}

}  // namespace test
}  // namespace orvo
