#include "daemon_test_support.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>

#include <cstdlib>
#include <string>

#include "daemon_names.h"

namespace daemontest {

namespace {

std::string makeRoot() {
  std::string const folder = std::string(ORVO_BINARY_DIR) + "/tmp";
  mkdir(folder.c_str(), 0755);
  std::string pattern = folder + "/daemons-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) std::abort();
  setenv("ORVO_ROOT", pattern.c_str(), 1);
  static std::string const removeCommand = "rm -rf -- '" + pattern + "'";
  std::atexit([] { (void)std::system(removeCommand.c_str()); });
  return pattern;
}

}  // namespace

std::string const& cameraRoot() {
  static std::string const root = makeRoot();
  return root;
}

int64_t nowMs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

int camsim(std::string const& subCommand, std::string const& rest) {
  std::string const command = "ORVO_SIM_BIN='" + std::string(ORVO_BINARY_DIR) + "/sim' '" +
                              std::string(ORVO_SOURCE_DIR) + "/camsim' " + subCommand +
                              " --root '" + cameraRoot() + "' " + rest + " >/dev/null 2>&1";
  int const status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

RunningDaemons::RunningDaemons() {
  for (char const* daemon : orvo::sim::kDaemonNames) {
    started_ = camsim("ctl", std::string(daemon) + " start") == 0 && started_;
  }
}

RunningDaemons::~RunningDaemons() {
  for (char const* daemon : orvo::sim::kDaemonNames) camsim("ctl", std::string(daemon) + " stop");
}

orvo::variant::Variant parse(char const* json) {
  orvo::variant::Variant value;
  if (!value.FromJSON(json)) std::abort();
  return value;
}

}  // namespace daemontest
