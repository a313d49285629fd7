// What the reboot, reset and wireless-scan tests share: a logged-in CGI call,
// a stand-in daemon that breaks every connection, and the simulated camera's
// restarts as `camsim status` reports them.
#pragma once

#include <sys/types.h>

#include <string>

#include "access_support.h"
#include "harness/http.h"

namespace orvo {
namespace e2e {

// A session made by a password login from `addr` (version 0.1, which asks
// no daemon); the "authId=<id>" cookie text.
std::string loggedInCookie(CameraRoot const& root, std::string const& addr = "10.1.2.3");

// rest.cgi called with `method` on "<version>/<endpoint>" and the cookie.
CgiAnswer callWithCookie(CameraRoot const& root, std::string const& method,
                         std::string const& id, std::string const& cookie);

// Listens as `daemon` in the root, in a child process, and answers every
// request with bytes that are no frame: the sender sees the connection fail
// at once. Stopped when destroyed.
class BrokenDaemon {
 public:
  BrokenDaemon(CameraRoot const& root, char const* daemon);
  ~BrokenDaemon();
  BrokenDaemon(BrokenDaemon const&) = delete;
  BrokenDaemon& operator=(BrokenDaemon const&) = delete;

 private:
  pid_t pid_ = -1;
};

// One simulated daemon started in the root (`camsim ctl DAEMON start`) for
// as long as the object lives.
class StartedDaemon {
 public:
  StartedDaemon(CameraRoot const& root, char const* daemon);
  ~StartedDaemon();
  StartedDaemon(StartedDaemon const&) = delete;
  StartedDaemon& operator=(StartedDaemon const&) = delete;
  // `camsim ctl DAEMON <control> <value>`.
  void control(std::string const& what, std::string const& value);

 private:
  CameraRoot const& root_;
  std::string daemon_;
};

// The number of restarts `camsim status` reports for the camera.
int rebootCount(SimulatedCamera const& camera);
// Waits (at most `limitSeconds`) until the camera has restarted `count`
// times and every daemon runs again; false when it did not.
bool waitForReboots(SimulatedCamera const& camera, int count, int limitSeconds = 60);

}  // namespace e2e
}  // namespace orvo
