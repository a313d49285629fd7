// The simulated camera behind lighttpd (`camsim up` on a free port, `camsim
// down` afterwards), and the fixtures through which the tests of one program
// share one camera root or one running camera.
//
// Sharing: every TEST_F of a program whose fixture derives from
// SharedRootTest (CGI runs, no web server) or SharedCameraTest (lighttpd and
// the nine daemons) uses the same root, made by the first test that runs
// and removed when the program ends. Each test sees the log records written
// since it began (log()), and what it changed in the camera's state (see
// cameraStatePaths()) and the daemons it stopped through control() are put
// back when it ends. A test that needs a camera of its own (one that must
// not see another test's leftovers in files outside that state, or starts
// and stops the camera itself) makes a CameraRoot or SimulatedCamera.
// CTest runs each such program as one test, so its tests run one after the
// other while different programs run in parallel.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/camera_root.h"
#include "support/http.h"
#include "support/log_records.h"
#include "support/process.h"

namespace orvo {
namespace test {

// Runs `camsim <command> --root <root> <arguments...>`.
ProcessResult runCamsim(std::string const& command, std::string const& root,
                        std::vector<std::string> const& arguments = {});
// The same; a failure fails the calling test.
void camsim(CameraRoot const& root, std::string const& command,
            std::vector<std::string> const& arguments);

// A running simulated camera with its own root and port.
class SimulatedCamera {
 public:
  SimulatedCamera();
  ~SimulatedCamera();
  SimulatedCamera(SimulatedCamera const&) = delete;
  SimulatedCamera& operator=(SimulatedCamera const&) = delete;

  CameraRoot const& root() const { return root_; }
  int port() const { return port_; }
  std::string const& baseUrl() const { return baseUrl_; }
  HttpResponse request(HttpRequest const& request) const { return httpRequest(baseUrl_, request); }
  HttpResponse requestFrom(std::string const& sourceAddress, HttpRequest const& request) const {
    return httpRequest(baseUrl_, request, sourceAddress);
  }
  HttpResponse get(std::string const& target) const { return request({"GET", target, {}, {}}); }

 private:
  CameraRoot root_{CameraRoot::Layout::kCamsim};
  int port_ = 0;
  std::string baseUrl_;
};

// What every shared-camera fixture does around a test: marks the log and
// keeps the camera's state, puts the state back when the test ends.
class SharedStateTest : public ::testing::Test {
 protected:
  explicit SharedStateTest(CameraRoot const& root);
  void TearDown() override;

  // The records written into the log since the test began.
  std::vector<LogRecord> log() const { return mark_.records(); }
  std::vector<std::string> logSummaries() const { return mark_.summaries(); }
  bool logged(std::string const& summary) const { return hasSummary(log(), summary); }
  // How many of those lines hold `part` anywhere (place or text).
  std::size_t countLogged(std::string const& part) const;
  // `camsim clock <step>` ("+301"); undone when the test ends.
  void moveClock(std::string const& step) const;
  // `camsim token <value>`; undone when the test ends.
  void setToken(std::string const& token) const;

  CameraRoot const& sharedRoot_;

 private:
  LogMark mark_;
  RootSnapshot snapshot_;
};

// One camsim-made root for the whole program; nothing runs in it.
class SharedRootTest : public SharedStateTest {
 protected:
  SharedRootTest() : SharedStateTest(root()) {}
  static CameraRoot const& root();
};

// One running simulated camera for the whole program.
class SharedCameraTest : public SharedStateTest {
 protected:
  SharedCameraTest() : SharedStateTest(camera().root()) {}
  void TearDown() override;
  static SimulatedCamera& camera();

  // `camsim ctl <daemon> <arguments...>`; the controls are camera state, and
  // a daemon stopped here is started again when the test ends.
  void control(std::string const& daemon, std::vector<std::string> const& arguments);

 private:
  std::set<std::string> stopped_;
};

}  // namespace test
}  // namespace orvo
