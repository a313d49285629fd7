#include "orvo/utils/file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>

#include "orvo/utils/random.h"
#include <cstring>

namespace orvo {
namespace utils {

namespace {

constexpr std::size_t kReadChunkBytes = 16 * 1024;
constexpr char kTemporarySuffix[] = ".XXXXXX";
constexpr unsigned long kTemporaryRandomChars = 6;
constexpr int kNameAttempts = 16;

std::string folderOf(std::string const& path) {
  std::string::size_type slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Makes the rename itself durable; a failure here does not undo the write.
void syncFolder(std::string const& path) {
  int fd = ::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

// Reads to the end. `expected` (the size fstat gave; 0 when unknown) sizes
// the text once: growing it chunk by chunk would copy a large file several
// times over, each copy fresh memory.
bool readAllBounded(int fd, std::size_t limit, std::size_t expected, std::string& out) {
  if (expected > 0 && expected <= limit) out.reserve(expected);
  char chunk[kReadChunkBytes];
  for (;;) {
    ssize_t n = ::read(fd, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) return true;
    // Checked while reading: the file may grow after fstat.
    if (out.size() + static_cast<std::size_t>(n) > limit) {
      errno = EFBIG;
      return false;
    }
    out.append(chunk, static_cast<std::size_t>(n));
  }
}

// An unnamed file in the target's folder where the file system has them
// (`temporary` stays empty), else a named one from mkstemp.
int openTemporary(std::string const& path, std::string& temporary) {
  temporary.clear();
  int fd = ::open(folderOf(path).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
  if (fd >= 0) return fd;
  temporary = path + kTemporarySuffix;
  fd = ::mkostemp(&temporary[0], O_CLOEXEC);
  if (fd < 0) temporary.clear();
  return fd;
}

// Links an unnamed file as "<path>.XXXXXX", the name a named temporary
// would have had (so leftovers are found the same way).
bool nameTemporary(int fd, std::string const& path, std::string& temporary) {
  std::string const viaProc = "/proc/self/fd/" + std::to_string(fd);
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    std::string candidate = path + "." + randomAlphaNumericString("", kTemporaryRandomChars);
    if (candidate.size() == path.size() + 1) return false;  // no randomness
    int rc = ::linkat(fd, "", AT_FDCWD, candidate.c_str(), AT_EMPTY_PATH);
    // AT_EMPTY_PATH needs a capability; the /proc link works for everyone.
    if (rc != 0 && errno != EEXIST) {
      rc = ::linkat(AT_FDCWD, viaProc.c_str(), AT_FDCWD, candidate.c_str(), AT_SYMLINK_FOLLOW);
    }
    if (rc == 0) {
      temporary = candidate;
      return true;
    }
    if (errno != EEXIST) return false;
  }
  return false;
}

}  // namespace

bool readFileBounded(std::string const& path, std::size_t limit, std::string& text) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat info {};
  std::string data;
  bool ok = ::fstat(fd, &info) == 0;
  if (ok && !S_ISREG(info.st_mode)) {
    errno = EINVAL;
    ok = false;
  } else if (ok && static_cast<uint64_t>(info.st_size) > limit) {
    errno = EFBIG;
    ok = false;
  }
  ok = ok && readAllBounded(fd, limit, static_cast<std::size_t>(info.st_size), data);
  int err = errno;
  ::close(fd);
  errno = err;
  if (ok) text.swap(data);
  return ok;
}

bool readFdBounded(int fd, std::size_t limit, std::string& text) {
  struct stat info {};
  std::size_t expected = 0;
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) expected = static_cast<std::size_t>(info.st_size);
  std::string data;
  if (!readAllBounded(fd, limit, expected, data)) return false;
  text.swap(data);
  return true;
}

bool writeAll(int fd, std::string const& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

bool replaceFileAtomically(std::string const& path, std::string const& text, mode_t newFileMode,
                           bool keepExistingMode) {
  if (path.empty()) return false;
  mode_t mode = newFileMode;
  struct stat old {};
  // lstat: the mode of whatever a link points at is no business of ours.
  if (keepExistingMode && ::lstat(path.c_str(), &old) == 0 && S_ISREG(old.st_mode)) {
    mode = old.st_mode & 07777;
  }
  std::string temporary;
  int fd = openTemporary(path, temporary);
  if (fd < 0) return false;
  bool ok = ::fchmod(fd, mode) == 0 && writeAll(fd, text) && ::fsync(fd) == 0;
  // An unnamed file gets its name only now, just before the rename, so a
  // writer killed mid-write leaves nothing behind.
  ok = ok && (!temporary.empty() || nameTemporary(fd, path, temporary));
  int err = errno;
  if (::close(fd) != 0 && ok) {
    err = errno;
    ok = false;
  }
  if (ok && ::rename(temporary.c_str(), path.c_str()) != 0) {
    err = errno;
    ok = false;
  }
  if (!ok) {
    if (!temporary.empty()) ::unlink(temporary.c_str());
    errno = err;
    return false;
  }
  syncFolder(path);
  return true;
}

namespace {

// True for the six letters and digits mkstemp puts in place of "XXXXXX".
bool isGeneratedSuffix(char const* suffix) {
  if (std::strlen(suffix) != kTemporaryRandomChars) return false;
  for (char const* c = suffix; *c; ++c) {
    if (!((*c >= 'a' && *c <= 'z') || (*c >= 'A' && *c <= 'Z') || (*c >= '0' && *c <= '9'))) {
      return false;
    }
  }
  return true;
}

// Removes the entries "<base of path><separator><six generated characters>"
// beside `path` for which `remove(folder fd, name)` is true.
template <typename Predicate>
int removeTemporariesOf(std::string const& path, char separator, Predicate remove) {
  std::string::size_type slash = path.rfind('/');
  std::string const prefix = (slash == std::string::npos ? path : path.substr(slash + 1)) + separator;
  DIR* dir = ::opendir(folderOf(path).c_str());
  if (!dir) return 0;
  int removed = 0;
  while (dirent* entry = ::readdir(dir)) {
    char const* name = entry->d_name;
    if (std::strncmp(name, prefix.c_str(), prefix.size()) != 0 ||
        !isGeneratedSuffix(name + prefix.size()) || !remove(::dirfd(dir), name)) {
      continue;
    }
    if (::unlinkat(::dirfd(dir), name, 0) == 0) ++removed;
  }
  ::closedir(dir);
  return removed;
}

}  // namespace

int removeStaleTemporaries(std::string const& path) {
  return removeTemporariesOf(path, '.', [](int, char const*) { return true; });
}

int removeAbandonedTemporaries(std::string const& path, char separator, unsigned minimumAgeSeconds) {
  time_t const now = ::time(nullptr);
  return removeTemporariesOf(path, separator, [&](int folder, char const* name) {
    struct stat info {};
    return ::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(info.st_mode) &&
           now - info.st_mtime >= static_cast<time_t>(minimumAgeSeconds);
  });
}

}  // namespace utils
}  // namespace orvo
