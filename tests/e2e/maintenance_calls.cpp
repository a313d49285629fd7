#include "maintenance_calls.h"

#include <gtest/gtest.h>

#include <fstream>

namespace orvo {
namespace e2e {

std::string directSessionCookie(CameraRoot const& root) {
  CgiAnswer answer = login(root, credentials("admin", "admin"), "0.1", kMaintenanceAddr);
  EXPECT_EQ(answer.status, "200") << answer.body;
  // The tests read what their own requests log; the login's records are not theirs.
  writeDeviceFile(root, "/var/log/messages", "");
  return "authId=" + cookieId(answer.headers["Set-Cookie"]);
}

CgiAnswer callWithSession(CameraRoot const& root, std::string const& cookie,
                          std::string const& method, std::string const& id,
                          std::string const& body) {
  return callCgi(root, {method, id, body, kMaintenanceAddr, cookie});
}

void writeDeviceFile(CameraRoot const& root, std::string const& path, std::string const& text) {
  std::ofstream out(root.file(path), std::ios::binary | std::ios::trunc);
  out << text;
  ASSERT_TRUE(out.good()) << root.file(path);
}

}  // namespace e2e
}  // namespace orvo
