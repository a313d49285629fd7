// What the maintenance endpoint tests share: a logged-in direct CGI call.
#pragma once

#include <string>

#include "access_support.h"
#include "harness/camera.h"

namespace orvo {
namespace e2e {

// The address every direct call comes from.
constexpr char kMaintenanceAddr[] = "10.1.2.3";

// Logs in directly (version 0.1, no daemon needed) and empties the log
// afterwards; "authId=<id>".
std::string directSessionCookie(CameraRoot const& root);

// `method` id=`id` with the session cookie and, when not empty, a JSON body.
CgiAnswer callWithSession(CameraRoot const& root, std::string const& cookie,
                          std::string const& method, std::string const& id,
                          std::string const& body = "");

// Writes `text` to the device path `path` inside the root, whole.
void writeDeviceFile(CameraRoot const& root, std::string const& path, std::string const& text);

}  // namespace e2e
}  // namespace orvo
