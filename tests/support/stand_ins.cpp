#include "support/stand_ins.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>

#include "messages/daemons.h"
#include "orvo/ipc/bus_server.h"
#include "orvo/variant/variant.h"
#include "support/camera.h"

namespace orvo {
namespace test {

namespace {

class AdoptionAnswer : public orvo::ipc::BusServer {
 public:
  explicit AdoptionAnswer(bool adopted) : BusServer(orvo::daemons::kAvclient), adopted_(adopted) {}
  void HandleRequest(orvo::ipc::messages::BaseRequestMessage& request, bool& accept) override {
    accept = true;
    orvo::variant::Variant answer;
    answer["adopted"] = adopted_;
    respond(request, answer);
  }

 private:
  bool adopted_;
};

class GarbleEverything : public orvo::ipc::BusServer {
 public:
  using BusServer::BusServer;
  void HandleRequest(orvo::ipc::messages::BaseRequestMessage& request, bool& accept) override {
    accept = true;
    sendRaw(request, "this is no frame");
  }
};

// Forks a child that makes the server (in the root) and serves it until
// killed; returns once it listens. The child never returns.
pid_t serveInChild(std::string const& root,
                   std::function<std::unique_ptr<orvo::ipc::BusServer>()> const& make,
                   std::string const& what) {
  int ready[2];
  if (pipe(ready) != 0) throw std::runtime_error("pipe failed");
  pid_t const pid = fork();
  if (pid == 0) {
    close(ready[0]);
    setenv("ORVO_ROOT", root.c_str(), 1);
    std::unique_ptr<orvo::ipc::BusServer> server = make();
    char ok = server->listen() ? 1 : 0;
    (void)!write(ready[1], &ok, 1);
    close(ready[1]);
    for (;;) server->serve(1000);
  }
  close(ready[1]);
  char ok = 0;
  ssize_t n = read(ready[0], &ok, 1);
  close(ready[0]);
  if (n != 1 || ok != 1) throw std::runtime_error("stand-in " + what + " did not listen");
  return pid;
}

}  // namespace

ServedInChild::~ServedInChild() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

FakeAvclient::FakeAvclient(CameraRoot const& root, bool adopted)
    : ServedInChild(serveInChild(
          root.path(), [adopted] { return std::make_unique<AdoptionAnswer>(adopted); },
          orvo::daemons::kAvclient)) {}

BrokenDaemon::BrokenDaemon(CameraRoot const& root, char const* daemon)
    : ServedInChild(serveInChild(
          root.path(), [daemon] { return std::make_unique<GarbleEverything>(daemon); }, daemon)) {}

StartedDaemon::StartedDaemon(CameraRoot const& root, char const* daemon)
    : root_(root), daemon_(daemon) {
  ProcessResult started = runCamsim("ctl", root, {daemon, "start"});
  if (!started.exited || started.exitCode != 0) {
    throw std::runtime_error("cannot start " + daemon_ + ": " + started.err);
  }
}

StartedDaemon::~StartedDaemon() { runCamsim("ctl", root_, {daemon_, "stop"}); }

void StartedDaemon::control(std::string const& what, std::string const& value) {
  camsim(root_, "ctl", {daemon_, what, value});
}

HeldNamedLock::HeldNamedLock(CameraRoot const& root, std::string const& name) {
  std::string const folder = root.file("/run/lock/orvo");
  std::filesystem::create_directories(folder);
  std::string const path = folder + "/" + name + ".lock";
  fd_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  EXPECT_GE(fd_, 0) << path;
  EXPECT_EQ(flock(fd_, LOCK_EX | LOCK_NB), 0) << path;
}

HeldNamedLock::~HeldNamedLock() { release(); }

void HeldNamedLock::release() {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
}

}  // namespace test
}  // namespace orvo
