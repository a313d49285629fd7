#include "support/camera.h"

#include <cstdlib>
#include <stdexcept>

#include "support/poll.h"
#include "support/virtual_camera.h"

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

ProcessResult runCamsim(std::string const& command, CameraRoot const& root,
                        std::vector<std::string> const& arguments) {
  if (!root.isVirtualCamera()) return runCamsim(command, root.path(), arguments);
  std::string const script = virtualCameraCommand(command, arguments);
  if (!script.empty()) return runInVirtualCamera(script);
  ProcessResult none;
  none.exited = true;
  none.exitCode = 2;
  none.err = "the virtual camera has no 'camsim " + command + "' for this";
  return none;
}

void camsim(CameraRoot const& root, std::string const& command,
            std::vector<std::string> const& arguments) {
  ProcessResult result = runCamsim(command, root, arguments);
  EXPECT_TRUE(result.exited && result.exitCode == 0) << command << " failed: " << result.err;
}

SimulatedCamera::SimulatedCamera(DaemonList const& daemons)
    : root_(onVirtualCamera() ? CameraRoot::Layout::kVirtualCamera : CameraRoot::Layout::kCamsim) {
  if (onVirtualCamera()) {
    // The virtual camera is running already; a program before this one
    // may have restarted it, so it is awaited with all its daemons.
    port_ = virtualCameraPort();
    baseUrl_ = "http://127.0.0.1:" + std::to_string(port_);
    if (!waitForReboots(0, 9, std::chrono::seconds(300))) {
      throw std::runtime_error("the virtual camera does not run (./camsim vm up)");
    }
    prepareVirtualCamera();
    return;
  }
  std::vector<std::string> options = {"--cgi", restCgiPath(), "--server", testWebServer()};
  if (!daemons.empty()) {
    std::string list;
    for (auto const& daemon : daemons) list += (list.empty() ? "" : ",") + daemon;
    options.insert(options.end(), {"--daemons", list});
  }
  std::string errors;
  for (int attempt = 0; attempt < kStartAttempts; ++attempt) {
    port_ = freePort();
    std::vector<std::string> arguments = {"--port", std::to_string(port_)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    ProcessResult up = runCamsim("up", root_.path(), arguments);
    if (up.exited && up.exitCode == 0) {
      baseUrl_ = "http://127.0.0.1:" + std::to_string(port_);
      return;
    }
    errors += up.err;
  }
  throw std::runtime_error("camsim up failed: " + errors);
}

SimulatedCamera::~SimulatedCamera() {
  if (onVirtualCamera()) {
    releaseVirtualCamera();
  } else {
    runCamsim("down", root_.path());
  }
}

namespace {

// `camsim status`: "reboots: N (last ...)" and one "<name>: running (pid
// ...)" line for lighttpd and each running daemon.
struct CameraStatus {
  int reboots = -1;
  int running = 0;
};

CameraStatus cameraStatus(CameraRoot const& root) {
  if (root.isVirtualCamera()) {
    VirtualCameraStatus const status = virtualCameraStatus();
    return {status.boots, status.running};
  }
  ProcessResult status = runCamsim("status", root.path());
  CameraStatus out;
  std::size_t at = status.out.find("reboots: ");
  if (at != std::string::npos) out.reboots = std::atoi(status.out.c_str() + at + 9);
  for (at = 0; (at = status.out.find(": running (pid", at)) != std::string::npos; ++at) {
    ++out.running;
  }
  return out;
}

}  // namespace

int SimulatedCamera::rebootCount() const { return cameraStatus(root_).reboots; }

bool SimulatedCamera::waitForReboots(int count, int daemons,
                                     std::chrono::milliseconds limit) const {
  return eventually(
      [&] {
        CameraStatus const status = cameraStatus(root_);
        return status.reboots >= count && status.running == daemons + 1;
      },
      limit, std::chrono::milliseconds(200));
}

SharedStateTest::SharedStateTest(CameraRoot const& root)
    : sharedRoot_(root), mark_(root), snapshot_(root, cameraStatePaths()) {}

void SharedStateTest::TearDown() {
  // The virtual camera's clock is its system clock, which no file keeps.
  if (sharedRoot_.isVirtualCamera() && clockMoved_ != 0) {
    std::string const back = (clockMoved_ > 0 ? "-" : "+") + std::to_string(std::llabs(clockMoved_));
    camsim(sharedRoot_, "clock", {back});
  }
  clockMoved_ = 0;
  for (auto const& kept : kept_) kept->restore();
  kept_.clear();
  snapshot_.restore();
}

std::size_t SharedStateTest::countLogged(std::string const& part) const {
  return mark_.count(part);
}

void SharedStateTest::keep(std::vector<std::string> const& paths) {
  kept_.push_back(std::make_unique<RootSnapshot>(sharedRoot_, paths));
}

void SharedStateTest::moveClock(std::string const& step) {
  camsim(sharedRoot_, "clock", {step});
  clockMoved_ += std::stoll(step);
}

void SharedStateTest::setToken(std::string const& token) const {
  camsim(sharedRoot_, "token", {token});
}

CameraRoot const& SharedRootTest::root() {
  static CameraRoot const shared(CameraRoot::Layout::kCamsim);
  return shared;
}

SimulatedCamera& SharedCameraTest::camera(DaemonList const& daemons) {
  static SimulatedCamera shared(daemons);
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
