// What the setup, management and connection tests share: a session made by
// calling rest.cgi directly, the log records written since a mark, bounded
// waiting for the camera to change, and a lock held by the test.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "access_support.h"
#include "harness/camera.h"
#include "harness/http.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace e2e {

// Logs in as admin/admin from `addr` by calling rest.cgi; "authId=<id>".
std::string cgiSessionCookie(CameraRoot const& root, std::string const& addr = "10.1.2.3");

// The log summaries ("<identity> <level> <tag>: <file>:<function>: <text>")
// written after the first `mark` ones (mark: summaries(root).size() before).
std::vector<std::string> summariesSince(CameraRoot const& root, std::size_t mark);

// How many summaries contain `part`.
std::size_t countSummaries(CameraRoot const& root, std::string const& part);

// Polls `done` every 50 ms until it is true or `limit` has passed.
bool waitUntil(std::function<bool()> const& done,
               std::chrono::milliseconds limit = std::chrono::seconds(2));

// text(document, path) of camera_support.h for a document just received.
std::string field(orvo::variant::Variant document, char const* path);

// The JSON state of a simulated daemon of `root`, parsed.
orvo::variant::Variant stateOf(CameraRoot const& root, char const* daemon);
// `camsim ctl --root ROOT arguments...`; a failure fails the calling test.
void controlOf(CameraRoot const& root, std::vector<std::string> const& arguments);

// Holds the camera's named inter-process lock (its lock file, flock) for
// the object's life, as a running holder of that lock would.
class HeldNamedLock {
 public:
  HeldNamedLock(CameraRoot const& root, std::string const& name);
  ~HeldNamedLock();
  HeldNamedLock(HeldNamedLock const&) = delete;
  HeldNamedLock& operator=(HeldNamedLock const&) = delete;
  void release();

 private:
  int fd_ = -1;
};

}  // namespace e2e
}  // namespace orvo
