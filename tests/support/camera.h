// The simulated camera behind lighttpd (`camsim up` on a free port, `camsim
// down` afterwards), and the fixtures through which the tests of one program
// share one camera root or one running camera.
//
// Sharing: every TEST_F of a program whose fixture derives from
// SharedRootTest (CGI runs, no web server) or SharedCameraTest (lighttpd and
// the nine daemons, or those the fixture names) uses the same root, made by
// the first test that runs and removed when the program ends. Each test sees
// the log records written since it began (log()), and what it changed in the
// camera's state (see cameraStatePaths()), the further files it names with
// keep() and the daemons it stopped through control() are put back when it
// ends. A test that needs a camera of its own (one that must not see another
// test's leftovers in files outside that state, or starts and stops the
// camera itself) makes a CameraRoot or SimulatedCamera. CTest runs each such
// program as one test, so its tests run one after the other while different
// programs run in parallel.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
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
// The same for a camera root; on the virtual camera the command (ctl,
// token, clock, call, state) runs in the camera's shell instead.
ProcessResult runCamsim(std::string const& command, CameraRoot const& root,
                        std::vector<std::string> const& arguments = {});
// The same; a failure fails the calling test.
void camsim(CameraRoot const& root, std::string const& command,
            std::vector<std::string> const& arguments);

// The daemons a camera runs: all nine when empty, none for {"none"}.
using DaemonList = std::vector<std::string>;

// A running simulated camera with its own root and port.
class SimulatedCamera {
 public:
  explicit SimulatedCamera(DaemonList const& daemons = {});
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

  // The restarts `camsim status` reports.
  int rebootCount() const;
  // Waits (at most `limit`) until the camera has restarted `count` times
  // and lighttpd and `daemons` of its daemons run again; false when not.
  bool waitForReboots(int count, int daemons = 9,
                      std::chrono::milliseconds limit = std::chrono::seconds(60)) const;

 private:
  CameraRoot root_;
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
  void moveClock(std::string const& step);
  // `camsim token <value>`; undone when the test ends.
  void setToken(std::string const& token) const;
  // Also put back these device files and folders (beyond the camera's
  // state) when the test ends.
  void keep(std::vector<std::string> const& paths);
  // From now on log() holds only what comes after this call (a fixture's
  // own login, for one, is not the test's).
  void markLog() { mark_ = LogMark(sharedRoot_); }

  CameraRoot const& sharedRoot_;

 private:
  LogMark mark_;
  RootSnapshot snapshot_;
  long long clockMoved_ = 0;  // seconds, to move back on the virtual camera
  std::vector<std::unique_ptr<RootSnapshot>> kept_;
};

// One camsim-made root for the whole program; nothing runs in it.
// Against the virtual camera such tests are skipped (kDirectRun).
class SharedRootTest : public SharedStateTest {
 protected:
  SharedRootTest() : SharedStateTest(root()) {}
  static CameraRoot const& root();
};

// One running simulated camera for the whole program.
// A program whose tests need only some daemons names them in its fixture's
// constructor (SharedCameraTest({daemons::kNetworkd})): the first test
// starts the camera with those.
class SharedCameraTest : public SharedStateTest {
 protected:
  explicit SharedCameraTest(DaemonList const& daemons = {})
      : SharedStateTest(camera(daemons).root()) {}
  void TearDown() override;
  static SimulatedCamera& camera(DaemonList const& daemons = {});

  // `camsim ctl <daemon> <arguments...>`; the controls are camera state, and
  // a daemon stopped here is started again when the test ends.
  void control(std::string const& daemon, std::vector<std::string> const& arguments);

 private:
  std::set<std::string> stopped_;
};

}  // namespace test
}  // namespace orvo
