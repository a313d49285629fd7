#include "shared/firmware_upload.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "orvo/utils/file.h"
#include "orvo/utils/random.h"

namespace orvo {
namespace rest {

namespace {

constexpr mode_t kStagedMode = 0600;
constexpr std::size_t kRecordLimit = 256;
constexpr char kRecordTemporary[] = "fwupdate.rec.new";

// The attributes a replaced or rewritten file cannot keep all of.
std::string identity(struct stat const& info) {
  char text[160];
  std::snprintf(text, sizeof text, "%ju %ju %jd %jd.%09ld %jd.%09ld\n",
                static_cast<uintmax_t>(info.st_dev), static_cast<uintmax_t>(info.st_ino),
                static_cast<intmax_t>(info.st_size), static_cast<intmax_t>(info.st_mtim.tv_sec),
                info.st_mtim.tv_nsec, static_cast<intmax_t>(info.st_ctim.tv_sec),
                info.st_ctim.tv_nsec);
  return text;
}

std::string readRecord(int dirFd) {
  int fd = ::openat(dirFd, kStagedFwRecordName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return "";
  struct stat info {};
  std::string text;
  bool ok = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_uid == ::geteuid() &&
            orvo::utils::readFdBounded(fd, kRecordLimit, text);
  ::close(fd);
  return ok ? text : "";
}

// What is wrong with the open staged file, "" when nothing.
std::string problemOf(struct stat const& info, std::string const& record) {
  char text[96];
  if (!S_ISREG(info.st_mode))
    return S_ISDIR(info.st_mode) ? "is a folder" : "is not a regular file";
  if (info.st_nlink != 1) {
    std::snprintf(text, sizeof text, "has %ju links", static_cast<uintmax_t>(info.st_nlink));
    return text;
  }
  if (info.st_uid != ::geteuid()) {
    std::snprintf(text, sizeof text, "is owned by uid %u", static_cast<unsigned>(info.st_uid));
    return text;
  }
  if ((info.st_mode & 07777) != kStagedMode) {
    std::snprintf(text, sizeof text, "has mode %04o", static_cast<unsigned>(info.st_mode & 07777));
    return text;
  }
  if (record.empty()) return "was not staged by an upload";
  if (record != identity(info)) return "is not the file the upload staged";
  return "";
}

}  // namespace

bool ReceiveFwUpload(orvo::cgi::CGIRequest const& request, orvo::cgi::CGIResponse& response,
                     PrivateDir const& dir, InterProcessMutex& lock) {
  if (!orvo::cgi::lock(kUploadLockName, lock, response)) return false;
  request.ReadUploads(dir.Path());
  return true;
}

bool StageFwUpload(PrivateDir const& dir, std::string const& savedPath) {
  ::unlinkat(dir.Fd(), kStagedFwRecordName, 0);
  if (savedPath.empty()) {
    errno = ENOENT;
    return false;
  }
  return ::renameat(AT_FDCWD, savedPath.c_str(), dir.Fd(), kStagedFwName) == 0;
}

bool RecordStagedImage(PrivateDir const& dir) {
  struct stat info {};
  if (::fstatat(dir.Fd(), kStagedFwName, &info, AT_SYMLINK_NOFOLLOW) != 0) return false;
  int fd = ::openat(dir.Fd(), kRecordTemporary,
                    O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kStagedMode);
  if (fd < 0) return false;
  bool ok = orvo::utils::writeAll(fd, identity(info));
  ok = ::close(fd) == 0 && ok;
  if (ok && ::renameat(dir.Fd(), kRecordTemporary, dir.Fd(), kStagedFwRecordName) == 0) return true;
  ::unlinkat(dir.Fd(), kRecordTemporary, 0);
  return false;
}

void RemoveStagedImage(PrivateDir const& dir) {
  ::unlinkat(dir.Fd(), kStagedFwRecordName, 0);
  if (::unlinkat(dir.Fd(), kStagedFwName, 0) == 0 || errno != EISDIR) return;
  if (::unlinkat(dir.Fd(), kStagedFwName, AT_REMOVEDIR) == 0) return;
  // A folder with something in it would block every later upload.
  std::string const aside =
      std::string(kStagedFwName) + ".refused-" + orvo::utils::randomAlphaNumericString("", 6);
  ::renameat(dir.Fd(), kStagedFwName, dir.Fd(), aside.c_str());
}

std::string VerifyStagedImage(PrivateDir const& dir) {
  int fd = ::openat(dir.Fd(), kStagedFwName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  std::string problem;
  if (fd < 0) {
    problem = errno == ENOENT  ? "does not exist"
              : errno == ELOOP ? "is a symbolic link"
                               : std::string("cannot be opened: ") + std::strerror(errno);
  } else {
    struct stat info {};
    problem = ::fstat(fd, &info) != 0 ? std::string("cannot be examined: ") + std::strerror(errno)
                                      : problemOf(info, readRecord(dir.Fd()));
    ::close(fd);
  }
  if (!problem.empty() && problem != "does not exist") RemoveStagedImage(dir);
  return problem;
}

}  // namespace rest
}  // namespace orvo
