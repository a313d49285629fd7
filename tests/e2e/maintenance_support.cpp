#include "maintenance_support.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "orvo/ipc/bus_server.h"

namespace orvo {
namespace e2e {

std::string loggedInCookie(CameraRoot const& root, std::string const& addr) {
  CgiAnswer answer = login(root, credentials("admin", "admin"), "0.1", addr);
  EXPECT_EQ(answer.status, "200") << answer.body;
  return "authId=" + cookieId(answer.headers["Set-Cookie"]);
}

CgiAnswer callWithCookie(CameraRoot const& root, std::string const& method,
                         std::string const& id, std::string const& cookie) {
  return callCgi(root, {method, id, "", "10.1.2.3", cookie});
}

namespace {

class GarbleEverything : public orvo::ipc::BusServer {
 public:
  using BusServer::BusServer;
  void HandleRequest(orvo::ipc::messages::BaseRequestMessage& request, bool& accept) override {
    accept = true;
    sendRaw(request, "this is no frame");
  }
};

[[noreturn]] void serveBroken(std::string const& root, char const* daemon, int ready) {
  setenv("ORVO_ROOT", root.c_str(), 1);
  GarbleEverything server(daemon);
  char ok = server.listen() ? 1 : 0;
  (void)!write(ready, &ok, 1);
  close(ready);
  for (;;) server.serve(1000);
}

}  // namespace

BrokenDaemon::BrokenDaemon(CameraRoot const& root, char const* daemon) {
  int ready[2];
  if (pipe(ready) != 0) throw std::runtime_error("pipe failed");
  pid_ = fork();
  if (pid_ == 0) {
    close(ready[0]);
    serveBroken(root.path(), daemon, ready[1]);
  }
  close(ready[1]);
  char ok = 0;
  ssize_t n = read(ready[0], &ok, 1);
  close(ready[0]);
  if (n != 1 || ok != 1) throw std::runtime_error(std::string("stand-in ") + daemon + " did not listen");
}

BrokenDaemon::~BrokenDaemon() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
}

StartedDaemon::StartedDaemon(CameraRoot const& root, char const* daemon)
    : root_(root), daemon_(daemon) {
  ProcessResult started = runCamsim("ctl", root.path(), {daemon, "start"});
  if (!started.exited || started.exitCode != 0) {
    throw std::runtime_error("cannot start " + daemon_ + ": " + started.err);
  }
}

StartedDaemon::~StartedDaemon() { runCamsim("ctl", root_.path(), {daemon_, "stop"}); }

void StartedDaemon::control(std::string const& what, std::string const& value) {
  ProcessResult result = runCamsim("ctl", root_.path(), {daemon_, what, value});
  EXPECT_EQ(result.exitCode, 0) << result.err;
}

namespace {

// `camsim status`: "reboots: N (last ...)" and one "<daemon>: running" line
// per running daemon.
struct CameraStatus {
  int reboots = -1;
  int runningDaemons = 0;
};

CameraStatus cameraStatus(SimulatedCamera const& camera) {
  ProcessResult status = runCamsim("status", camera.root().path());
  CameraStatus out;
  std::size_t at = status.out.find("reboots: ");
  if (at != std::string::npos) out.reboots = std::atoi(status.out.c_str() + at + 9);
  for (at = 0; (at = status.out.find(": running (pid", at)) != std::string::npos; ++at) {
    ++out.runningDaemons;
  }
  return out;
}

}  // namespace

int rebootCount(SimulatedCamera const& camera) { return cameraStatus(camera).reboots; }

bool waitForReboots(SimulatedCamera const& camera, int count, int limitSeconds) {
  // lighttpd is one of the "running" lines, the nine daemons the others.
  constexpr int kRunningWhenUp = 10;
  auto const limit = std::chrono::steady_clock::now() + std::chrono::seconds(limitSeconds);
  while (std::chrono::steady_clock::now() < limit) {
    CameraStatus const status = cameraStatus(camera);
    if (status.reboots >= count && status.runningDaemons == kRunningWhenUp) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  return false;
}

}  // namespace e2e
}  // namespace orvo
