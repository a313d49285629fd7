#include "daemon_test_support.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "daemon_names.h"
#include "orvo/utils/account.h"
#include "support/camera_root.h"

namespace daemontest {

std::string const& cameraRoot() { return orvo::test::processRoot().path(); }

namespace {

// The platform reads ORVO_ROOT once per process: make the root before any
// test can touch a device path, so the tests also pass run in one process.
class CameraRootEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { cameraRoot(); }
};

::testing::Environment* const kCameraRootEnvironment =
    ::testing::AddGlobalTestEnvironment(new CameraRootEnvironment);

}  // namespace

int64_t nowMs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

namespace {

std::string camsimCommand(std::string const& subCommand, std::string const& rest) {
  return "ORVO_SIM_BIN='" + std::string(ORVO_BINARY_DIR) + "/sim' '" +
         std::string(ORVO_SOURCE_DIR) + "/camsim' " + subCommand + " --root '" + cameraRoot() +
         "' " + rest;
}

int exitStatus(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

// Runs a shell command with both outputs captured.
int runCapturing(std::string const& command, std::string& output) {
  output.clear();
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return -1;
  char buffer[256];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
  return exitStatus(pclose(pipe));
}

}  // namespace

int camsim(std::string const& subCommand, std::string const& rest) {
  std::string const command = camsimCommand(subCommand, rest) + " >/dev/null 2>&1";
  return exitStatus(std::system(command.c_str()));
}

int camsim(std::string const& subCommand, std::string const& rest, std::string& output) {
  return runCapturing(camsimCommand(subCommand, rest), output);
}

int simd(std::string const& arguments, std::string& output) {
  cameraRoot();
  return runCapturing("'" + std::string(ORVO_BINARY_DIR) + "/sim/orvo_simd' " + arguments, output);
}

RunningDaemons::RunningDaemons() {
  // The control server reads the login name from the account, as on a root
  // made by `camsim init`.
  cameraRoot();
  started_ = orvo::utils::setAccount("admin", "admin") == 0;
  for (char const* daemon : orvo::daemons::kAll) {
    started_ = camsim("ctl", std::string(daemon) + " start") == 0 && started_;
  }
}

RunningDaemons::~RunningDaemons() {
  for (char const* daemon : orvo::daemons::kAll) camsim("ctl", std::string(daemon) + " stop");
}

orvo::variant::Variant parse(char const* json) {
  orvo::variant::Variant value;
  if (!value.FromJSON(json)) std::abort();
  return value;
}

}  // namespace daemontest
