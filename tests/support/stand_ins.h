// Stand-ins for what runs beside rest.cgi on the camera: bus servers that
// answer in a way the simulated daemons do not, one simulated daemon run
// alone in a root, and a named lock held as another process would.
#pragma once

#include <sys/types.h>

#include <string>

#include "support/camera_root.h"

namespace orvo {
namespace test {

// A bus server run in a child process for a camera root; stopped when
// destroyed.
class ServedInChild {
 public:
  ~ServedInChild();
  ServedInChild(ServedInChild const&) = delete;
  ServedInChild& operator=(ServedInChild const&) = delete;

 protected:
  explicit ServedInChild(pid_t pid) : pid_(pid) {}

 private:
  pid_t pid_ = -1;
};

// Serves "orvo_avclient", answering every request with {"adopted": <adopted>}.
class FakeAvclient : public ServedInChild {
 public:
  FakeAvclient(CameraRoot const& root, bool adopted);
};

// Listens as `daemon` and answers every request with bytes that are no
// frame: the sender sees the connection fail at once.
class BrokenDaemon : public ServedInChild {
 public:
  BrokenDaemon(CameraRoot const& root, char const* daemon);
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

}  // namespace test
}  // namespace orvo
