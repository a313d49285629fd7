#include "bus_test_support.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "orvo/ipc/bus.h"
#include "support/camera_root.h"

namespace bustest {

namespace {

constexpr int kListenWaitMs = 5000;

std::vector<std::string> readLines(std::string const& path) {
  std::vector<std::string> lines;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace

std::string const& cameraRoot() { return orvo::test::processRoot().path(); }

int64_t nowMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<int64_t>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

int64_t fastestRun(int64_t upperMs, std::function<int64_t()> const& step) {
  int64_t fastest = step();
  for (int run = 1; run < kTimingRuns && fastest > upperMs; ++run) fastest = std::min(fastest, step());
  return fastest;
}

Daemon::Daemon(std::string name, std::string mode, int latencyMs, int startDelayMs)
    : name_(std::move(name)) {
  cameraRoot();
  std::string const latency = std::to_string(latencyMs);
  std::string const delay = std::to_string(startDelayMs);
  pid_ = fork();
  if (pid_ == 0) {
    // A test that dies must not leave its daemons running.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
#ifdef IPC_TEST_EMULATOR
    // A cross build's daemon is a program for the target: the emulator runs it.
    execl(IPC_TEST_EMULATOR, IPC_TEST_EMULATOR, IPC_TEST_DAEMON, name_.c_str(), mode.c_str(),
          latency.c_str(), delay.c_str(), static_cast<char*>(nullptr));
#else
    execl(IPC_TEST_DAEMON, IPC_TEST_DAEMON, name_.c_str(), mode.c_str(), latency.c_str(),
          delay.c_str(), static_cast<char*>(nullptr));
#endif
    _exit(127);
  }
}

Daemon::~Daemon() {
  if (pid_ <= 0) return;
  kill(pid_, SIGTERM);
  waitpid(pid_, nullptr, 0);
}

bool Daemon::waitListening() const {
  std::string const path = orvo::ipc::socketPathFor(name_);
  for (int64_t start = nowMs(); nowMs() - start < kListenWaitMs; usleep(2000)) {
    // The file appears at bind(), a moment before listen(): connect to be sure.
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    bool const connected =
        connect(fd, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0;
    close(fd);
    if (connected) return true;
    if (!alive()) return false;
  }
  return false;
}

std::vector<std::string> Daemon::received() const {
  return readLines(cameraRoot() + "/received/" + name_);
}

bool Daemon::alive() const { return pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) == 0; }

std::vector<orvo::test::LogRecord> logRecordsWith(std::string const& text) {
  std::vector<orvo::test::LogRecord> matches;
  for (auto const& record : orvo::test::logRecords(orvo::test::processRoot())) {
    if (record.text.find(text) != std::string::npos) matches.push_back(record);
  }
  return matches;
}

std::string uniqueName(std::string const& base) {
  static int counter = 0;
  return base + "_" + std::to_string(++counter);
}

}  // namespace bustest
