// What the tests of the session database's hardening share: a session check
// through a session-only endpoint, and a password login's new session.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "access_support.h"

namespace orvo {
namespace e2e {

constexpr char kHardeningAddr[] = "10.1.2.3";

// GET 0.1/status (session only, needs no daemon) with the session `id`.
inline CgiAnswer sessionRequest(CameraRoot const& root, std::string const& id,
                                std::string const& addr = kHardeningAddr) {
  return callCgi(root, {"GET", "0.1/status", "", addr, "authId=" + id});
}

// Logs in as admin/admin; the new session's identifier.
inline std::string loginId(CameraRoot const& root) {
  CgiAnswer answer = login(root, credentials("admin", "admin"));
  EXPECT_EQ(answer.status, "200") << answer.body;
  return cookieId(answer.headers["Set-Cookie"]);
}

}  // namespace e2e
}  // namespace orvo
