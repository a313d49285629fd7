#include "support/camera.h"

#include <stdexcept>

namespace orvo {
namespace test {

namespace {

// Another test may take the port between freePort() and lighttpd's bind.
constexpr int kStartAttempts = 5;
constexpr std::chrono::seconds kCamsimLimit{60};

}  // namespace

ProcessResult runCamsim(std::string const& command, std::string const& root,
                        std::vector<std::string> const& arguments) {
  ProcessSpec process;
  process.program = camsimPath();
  process.argv = {camsimPath(), command, "--root", root};
  process.argv.insert(process.argv.end(), arguments.begin(), arguments.end());
  process.env = camsimEnvironment();
  process.limit = kCamsimLimit;
  return runProcess(process);
}

void camsim(CameraRoot const& root, std::string const& command,
            std::vector<std::string> const& arguments) {
  ProcessResult result = runCamsim(command, root.path(), arguments);
  EXPECT_TRUE(result.exited && result.exitCode == 0) << command << " failed: " << result.err;
}

SimulatedCamera::SimulatedCamera() {
  std::string errors;
  for (int attempt = 0; attempt < kStartAttempts; ++attempt) {
    port_ = freePort();
    ProcessResult up = runCamsim("up", root_.path(),
                                 {"--port", std::to_string(port_), "--cgi", restCgiPath()});
    if (up.exited && up.exitCode == 0) {
      baseUrl_ = "http://127.0.0.1:" + std::to_string(port_);
      return;
    }
    errors += up.err;
  }
  throw std::runtime_error("camsim up failed: " + errors);
}

SimulatedCamera::~SimulatedCamera() { runCamsim("down", root_.path()); }

SharedStateTest::SharedStateTest(CameraRoot const& root)
    : sharedRoot_(root), mark_(root), snapshot_(root, cameraStatePaths()) {}

void SharedStateTest::TearDown() { snapshot_.restore(); }

std::size_t SharedStateTest::countLogged(std::string const& part) const {
  std::size_t count = 0;
  for (auto const& line : mark_.lines()) count += line.find(part) != std::string::npos;
  return count;
}

void SharedStateTest::moveClock(std::string const& step) const {
  camsim(sharedRoot_, "clock", {step});
}

void SharedStateTest::setToken(std::string const& token) const {
  camsim(sharedRoot_, "token", {token});
}

CameraRoot const& SharedRootTest::root() {
  static CameraRoot const shared(CameraRoot::Layout::kCamsim);
  return shared;
}

SimulatedCamera& SharedCameraTest::camera() {
  static SimulatedCamera shared;
  return shared;
}

void SharedCameraTest::control(std::string const& daemon,
                               std::vector<std::string> const& arguments) {
  std::vector<std::string> all = {daemon};
  all.insert(all.end(), arguments.begin(), arguments.end());
  camsim(sharedRoot_, "ctl", all);
  if (arguments == std::vector<std::string>{"stop"}) stopped_.insert(daemon);
  if (arguments == std::vector<std::string>{"start"}) stopped_.erase(daemon);
}

void SharedCameraTest::TearDown() {
  for (auto const& daemon : stopped_) camsim(sharedRoot_, "ctl", {daemon, "start"});
  stopped_.clear();
  SharedStateTest::TearDown();
}

}  // namespace test
}  // namespace orvo
