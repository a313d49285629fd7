#include "support/camera_root.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "support/process.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {

namespace fs = std::filesystem;

namespace {

constexpr char kPrivateFolder[] = "/tmp/.rest";

// The device's folders, as `camsim init` makes them.
constexpr char const* kDeviceFolders[] = {
    "/bin", "/sbin", "/etc", "/etc/orvo", "/tmp", "/dev", "/var/log", "/var/run", "/run",
    "/run/lock", "/run/lock/orvo", "/run/orvo", "/www/cgi-bin", "/sim", "/sim/lighttpd"};

std::string readWhole(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void runCamsimInit(std::string const& path) {
  ProcessResult init = runCommand({camsimPath(), "init", "--root", path}, camsimEnvironment());
  if (!init.exited || init.exitCode != 0) {
    throw std::runtime_error("camsim init failed (exit " + std::to_string(init.exitCode) +
                             ", signal " + std::to_string(init.signal) + "): " + init.err);
  }
}

}  // namespace

std::string restCgiPath() { return ORVO_REST_CGI; }
std::string camsimPath() { return sourceFolder() + "/camsim"; }
std::string scratchFolder() { return buildFolder() + "/tmp"; }
std::string buildFolder() { return ORVO_BINARY_DIR; }
std::string sourceFolder() { return ORVO_SOURCE_DIR; }

std::vector<std::string> camsimEnvironment() {
  std::vector<std::string> env;
  for (auto const& entry : inheritedEnvironment()) {
    if (entry.rfind("ORVO_", 0) != 0) env.push_back(entry);
  }
  env.push_back("ORVO_BUILD_DIR=" + buildFolder());
#ifdef ORVO_HOST_SIM_BIN
  if (*ORVO_HOST_SIM_BIN) env.push_back(std::string("ORVO_SIM_BIN=") + ORVO_HOST_SIM_BIN);
#endif
  return env;
}

CameraRoot::CameraRoot(Layout layout) : owner_(getpid()) {
  fs::create_directories(scratchFolder());
  std::string pattern = scratchFolder() + "/root-XXXXXX";
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed in " + scratchFolder());
  path_ = pattern;
  virtual_ = layout == Layout::kVirtualCamera;
  if (virtual_) return;
  if (layout == Layout::kCamsim) {
    runCamsimInit(path_);
  } else {
    for (char const* folder : kDeviceFolders) fs::create_directories(path_ + folder);
  }
  // rest.cgi's own folder, as its first request makes it, so that tests can
  // put a session database or an image there first.
  if (::mkdir((path_ + kPrivateFolder).c_str(), 0700) != 0) {
    throw std::runtime_error("cannot make " + path_ + kPrivateFolder);
  }
}

CameraRoot::~CameraRoot() {
  if (getpid() != owner_) return;
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string CameraRoot::file(std::string const& deviceAbsolutePath) const {
  return path_ + deviceAbsolutePath;
}

std::string CameraRoot::read(std::string const& deviceAbsolutePath) const {
  if (virtual_) return virtualCameraRead(deviceAbsolutePath);
  return readWhole(file(deviceAbsolutePath));
}

bool CameraRoot::exists(std::string const& deviceAbsolutePath) const {
  if (virtual_) return virtualCameraExists(deviceAbsolutePath);
  std::error_code ignored;
  return fs::exists(fs::symlink_status(file(deviceAbsolutePath), ignored));
}

void CameraRoot::write(std::string const& deviceAbsolutePath, std::string const& content) const {
  if (virtual_) return virtualCameraWrite(deviceAbsolutePath, content);
  fs::path const path = file(deviceAbsolutePath);
  // rest.cgi's own folder in /tmp is trusted only as 0700.
  if (fs::create_directories(path.parent_path()) && path.parent_path() == file(kPrivateFolder)) {
    fs::permissions(path.parent_path(), fs::perms::owner_all, fs::perm_options::replace);
  }
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

void CameraRoot::remove(std::string const& deviceAbsolutePath) const {
  if (virtual_) return virtualCameraRemove(deviceAbsolutePath);
  std::error_code ignored;
  fs::remove(file(deviceAbsolutePath), ignored);
}

std::vector<std::string> CameraRoot::list(std::string const& deviceFolder) const {
  std::vector<std::string> names;
  if (virtual_) {
    std::istringstream text(inVirtualCamera("[ ! -d " + shellWord(deviceFolder) + " ] || ls -A " +
                                            shellWord(deviceFolder)));
    for (std::string name; std::getline(text, name);) names.push_back(name);
    return names;
  }
  std::error_code ignored;
  for (auto const& entry : fs::directory_iterator(file(deviceFolder), ignored)) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

void CameraRoot::age(std::string const& deviceAbsolutePath, long seconds) const {
  if (virtual_) return virtualCameraAge(deviceAbsolutePath, seconds);
  struct timespec times[2];
  clock_gettime(CLOCK_REALTIME, &times[0]);
  times[0].tv_sec -= seconds;
  times[1] = times[0];
  if (utimensat(AT_FDCWD, file(deviceAbsolutePath).c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) {
    throw std::runtime_error("cannot set the time of " + file(deviceAbsolutePath));
  }
}

CameraRoot const& processRoot(CameraRoot::Layout layout) {
  static std::unique_ptr<CameraRoot> const root = [layout] {
    auto made = std::make_unique<CameraRoot>(layout);
    setenv("ORVO_ROOT", made->path().c_str(), 1);
    return made;
  }();
  return *root;
}

RootSnapshot::RootSnapshot(CameraRoot const& root, std::vector<std::string> paths)
    : root_(root), paths_(std::move(paths)) {
  if (root_.isVirtualCamera()) {
    kept_ = keepInVirtualCamera(paths_);
    return;
  }
  files_ = scan();
  for (auto const& devicePath : paths_) {
    if (!root_.exists(devicePath)) absent_.push_back(devicePath);
  }
}

std::map<std::string, std::string> RootSnapshot::scan() const {
  std::map<std::string, std::string> files;
  std::error_code ignored;
  for (auto const& devicePath : paths_) {
    fs::path const top = root_.file(devicePath);
    if (fs::is_regular_file(fs::symlink_status(top, ignored))) {
      files[devicePath] = root_.read(devicePath);
      continue;
    }
    if (!fs::is_directory(top, ignored)) continue;
    for (auto it = fs::recursive_directory_iterator(top, ignored);
         it != fs::recursive_directory_iterator(); it.increment(ignored)) {
      if (!it->is_regular_file(ignored) || it->is_symlink(ignored)) continue;
      std::string const inRoot = it->path().string().substr(root_.path().size());
      files[inRoot] = root_.read(inRoot);
    }
  }
  return files;
}

void RootSnapshot::restore() const {
  if (root_.isVirtualCamera()) return restoreVirtualCamera(kept_, paths_);
  for (auto const& [devicePath, content] : scan()) {
    auto const kept = files_.find(devicePath);
    if (kept == files_.end()) {
      root_.remove(devicePath);
    } else if (kept->second != content) {
      root_.write(devicePath, kept->second);
    }
  }
  for (auto const& [devicePath, content] : files_) {
    if (!root_.exists(devicePath)) root_.write(devicePath, content);
  }
  std::error_code ignored;
  for (auto const& devicePath : absent_) fs::remove_all(root_.file(devicePath), ignored);
}

std::vector<std::string> const& cameraStatePaths() {
  static std::vector<std::string> const paths = {"/etc",      "/tmp",    "/var/log/btmp",
                                                 "/sim/state", "/sim/ctl", "/sim/clock"};
  return paths;
}

}  // namespace test
}  // namespace orvo
