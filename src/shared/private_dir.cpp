#include "shared/private_dir.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cgi/log_tag.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/random.h"

namespace orvo {
namespace rest {

namespace {

constexpr char kLogFile[] = "src/private_dir";
constexpr mode_t kDirMode = 0700;
constexpr unsigned long kAsideRandomChars = 6;

int openDir(int at, char const* name) {
  return ::openat(at, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// "" when the open folder may be trusted, else what is wrong with it.
std::string untrusted(int fd) {
  struct stat info {};
  if (::fstat(fd, &info) != 0) return std::string("cannot be examined: ") + std::strerror(errno);
  char text[96];
  if (info.st_uid != ::geteuid()) {
    std::snprintf(text, sizeof text, "is owned by uid %u, not %u",
                  static_cast<unsigned>(info.st_uid), static_cast<unsigned>(::geteuid()));
    return text;
  }
  if ((info.st_mode & 07777) != kDirMode) {
    std::snprintf(text, sizeof text, "has mode %04o, not %04o",
                  static_cast<unsigned>(info.st_mode & 07777), static_cast<unsigned>(kDirMode));
    return text;
  }
  return "";
}

// Opens `path`, making it when nothing is there; `problem` says why not.
int openOrMake(std::string const& path, std::string& problem) {
  int fd = openDir(AT_FDCWD, path.c_str());
  if (fd < 0 && errno == ENOENT && (::mkdir(path.c_str(), kDirMode) == 0 || errno == EEXIST)) {
    fd = openDir(AT_FDCWD, path.c_str());
  }
  if (fd < 0) {
    problem = errno == ELOOP     ? "is a symbolic link"
              : errno == ENOTDIR ? "is not a folder"
                                 : std::string("cannot be opened: ") + std::strerror(errno);
    return -1;
  }
  problem = untrusted(fd);
  if (problem.empty()) return fd;
  ::close(fd);
  return -1;
}

// Another user's folders in the sticky /tmp cannot be moved by us unless we
// are root; our own (a wrong mode) always can.
bool moveAside(std::string const& path) {
  std::string const aside =
      path + ".refused-" + orvo::utils::randomAlphaNumericString("", kAsideRandomChars);
  return ::rename(path.c_str(), aside.c_str()) == 0;
}

// The first (by name) of our fallback folders in `parent`, or -1.
int findFallback(std::string const& parent, std::string const& prefix, std::string& path) {
  DIR* dir = ::opendir(parent.c_str());
  if (dir == nullptr) return -1;
  std::string best;
  while (dirent* entry = ::readdir(dir)) {
    std::string const name = entry->d_name;
    if (name.compare(0, prefix.size(), prefix) != 0 || (!best.empty() && name >= best)) continue;
    int fd = openDir(::dirfd(dir), name.c_str());
    if (fd < 0) continue;
    if (untrusted(fd).empty()) best = name;
    ::close(fd);
  }
  ::closedir(dir);
  if (best.empty()) return -1;
  path = parent + "/" + best;
  return openDir(AT_FDCWD, path.c_str());
}

int openFallback(std::string const& primary, std::string& path) {
  std::string const parent = primary.substr(0, primary.rfind('/'));
  std::string const prefix =
      primary.substr(parent.size() + 1) + "-" + std::to_string(::geteuid()) + "-";
  int fd = findFallback(parent, prefix, path);
  if (fd >= 0) return fd;
  std::string pattern = parent + "/" + prefix + "XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) return -1;
  // Two processes may have made one each: all of them settle on the first.
  return findFallback(parent, prefix, path);
}

}  // namespace

PrivateDir::~PrivateDir() {
  if (fd_ >= 0) ::close(fd_);
}

bool PrivateDir::Open() {
  if (fd_ >= 0) return true;
  std::string const primary = orvo::utils::devicePath(kPrivateDir);
  std::string problem;
  fd_ = openOrMake(primary, problem);
  if (fd_ < 0) {
    ORVO_LOG("PrivateDir", LOG_ERR, 0, "Refusing '%s': it %s", kPrivateDir, problem.c_str());
    if (moveAside(primary)) fd_ = openOrMake(primary, problem);
  }
  if (fd_ >= 0) {
    path_ = primary;
    return true;
  }
  fd_ = openFallback(primary, path_);
  if (fd_ < 0) {
    ORVO_LOG("PrivateDir", LOG_ERR, errno, "No folder of our own in '/tmp'");
    return false;
  }
  ORVO_LOG("PrivateDir", LOG_WARNING, 0, "Using '%s' instead of '%s'", path_.c_str(), kPrivateDir);
  return true;
}

std::string privateFile(std::string const& name) {
  static std::string const folder = [] {
    PrivateDir dir;
    return dir.Open() ? dir.Path() : orvo::utils::devicePath(kPrivateDir);
  }();
  return folder + "/" + name;
}

}  // namespace rest
}  // namespace orvo
