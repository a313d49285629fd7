// A camera root for tests: the device's folders under one directory in the
// build's tmp folder, made fresh and removed with everything in it. The
// program finds it through ORVO_ROOT (see docs/ARCHITECTURE.md).
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orvo {
namespace test {

// Paths fixed when the tests are built.
std::string restCgiPath();    // the built rest.cgi
std::string camsimPath();     // the repository's ./camsim
std::string scratchFolder();  // the build directory's tmp folder
std::string buildFolder();    // the build directory
std::string sourceFolder();   // the repository

// The test's environment for running ./camsim: the simulator's programs are
// taken from the build these tests belong to.
std::vector<std::string> camsimEnvironment();

class CameraRoot {
 public:
  enum class Layout {
    kFolders,  // the device's folders only (no camsim, no account)
    kCamsim,   // what `camsim init` makes: folders, account, description
    // The running virtual camera's own files (support/virtual_camera.h):
    // read(), exists(), write(), remove(), age() and snapshots act in the
    // camera; path() and file() name an empty folder on this machine.
    kVirtualCamera,
  };

  explicit CameraRoot(Layout layout = Layout::kFolders);
  ~CameraRoot();
  CameraRoot(CameraRoot const&) = delete;
  CameraRoot& operator=(CameraRoot const&) = delete;

  std::string const& path() const { return path_; }
  bool isVirtualCamera() const { return virtual_; }
  // path() + deviceAbsolutePath, e.g. file("/tmp/.rest_0_1.db").
  std::string file(std::string const& deviceAbsolutePath) const;
  // A device file's bytes, "" when it is absent.
  std::string read(std::string const& deviceAbsolutePath) const;
  bool exists(std::string const& deviceAbsolutePath) const;
  // Writes the whole file (its folders made as needed).
  void write(std::string const& deviceAbsolutePath, std::string const& content) const;
  void remove(std::string const& deviceAbsolutePath) const;
  // The names in a device folder (none when it is absent).
  std::vector<std::string> list(std::string const& deviceFolder) const;
  // Sets the entry's last change `seconds` back in real time (file times do
  // not follow the camera's clock); a link's own time, not its target's.
  void age(std::string const& deviceAbsolutePath, long seconds) const;

 private:
  std::string path_;
  bool virtual_ = false;
  int owner_;  // a forked child that exits normally must not remove the root
};

// One root for the whole test program, for code that reads ORVO_ROOT once
// per process: made on the first call, which also points ORVO_ROOT at it,
// so call it before the code under test runs (a test environment, a
// fixture's SetUp). Removed when the program exits.
CameraRoot const& processRoot(CameraRoot::Layout layout = CameraRoot::Layout::kFolders);

// What a test may change in a root, kept so it can be put back: the files
// under the given device folders and the given single files, byte for byte.
// restore() rewrites changed files, brings back removed ones and removes
// new ones; a given path absent at the snapshot is absent again afterwards,
// whatever stands there (a folder, a link, a FIFO).
class RootSnapshot {
 public:
  RootSnapshot(CameraRoot const& root, std::vector<std::string> paths);
  void restore() const;

 private:
  std::map<std::string, std::string> scan() const;

  CameraRoot const& root_;
  std::vector<std::string> paths_;
  std::map<std::string, std::string> files_;  // device path -> content
  std::vector<std::string> absent_;            // given paths absent at the snapshot
  std::string kept_;  // the virtual camera's copy (keepInVirtualCamera)
};

// The device paths a camera keeps its state in: configuration, account and
// token (/etc), sessions (/tmp), failed logins, the daemons' state and test
// controls, the clock offset.
std::vector<std::string> const& cameraStatePaths();

}  // namespace test
}  // namespace orvo
