#include "camera_support.h"

#include <gtest/gtest.h>

#include "access_support.h"

namespace orvo {
namespace e2e {

using orvo::variant::Variant;

std::string sessionCookie(SimulatedCamera const& camera) {
  HttpResponse answer = camera.request({"POST", "/api/1.2/login",
                                        {"Content-Type: application/json"},
                                        credentials("admin", "admin")});
  EXPECT_EQ(answer.status, 200) << answer.body;
  return "Cookie: authId=" + cookieId(answer.header("Set-Cookie").value_or(""));
}

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

std::set<std::string> keysOf(Variant const& value) {
  std::set<std::string> keys;
  for (auto it = value.str_begin(); it != value.str_end(); ++it) keys.insert(it->first);
  return keys;
}

Variant daemonState(SimulatedCamera const& camera, char const* daemon) {
  ProcessResult state = runCamsim("state", camera.root().path(), {daemon});
  EXPECT_EQ(state.exitCode, 0) << state.err;
  return parsed(state.out);
}

void control(SimulatedCamera const& camera, std::vector<std::string> const& arguments) {
  ProcessResult result = runCamsim("ctl", camera.root().path(), arguments);
  EXPECT_EQ(result.exitCode, 0) << result.err;
}

}  // namespace e2e
}  // namespace orvo
