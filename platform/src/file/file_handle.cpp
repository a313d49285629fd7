#include "orvo/utils/file_handle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace orvo {
namespace utils {

namespace {

constexpr std::size_t kReadChunkBytes = 64 * 1024;

}  // namespace

bool fileExists(char const* path, bool withoutFollowingLinks) {
  if (path == nullptr || *path == '\0') return false;
  struct stat info {};
  return (withoutFollowingLinks ? ::lstat(path, &info) : ::stat(path, &info)) == 0;
}

bool isFile(std::string const& path) {
  struct stat info {};
  return !path.empty() && ::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

File::~File() { Close(); }

bool File::Initialize(std::string const& path, mode_t mode, int flags) {
  Close();
  if (flags == 0) flags = O_RDONLY;
  // Non-blocking for the open only: a FIFO planted at the path must not hang us.
  int const fd = ::open(path.c_str(), flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, mode);
  if (fd < 0) return false;
  struct stat info {};
  bool const statted = ::fstat(fd, &info) == 0;
  if (!statted || !S_ISREG(info.st_mode)) {
    int const error = statted ? EINVAL : errno;
    ::close(fd);
    errno = error;
    return false;
  }
  ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  fd_ = fd;
  path_ = path;
  return true;
}

bool File::ReadAt(std::uint64_t offset, void* out, std::size_t size) const {
  auto* at = static_cast<unsigned char*>(out);
  while (size > 0) {
    ssize_t const n = ::pread(fd_, at, size, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    at += n;
    offset += static_cast<std::uint64_t>(n);
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

bool File::ReadStringAll(std::string& text) {
  if (fd_ < 0) {
    errno = EBADF;
    return false;
  }
  std::string data;
  char chunk[kReadChunkBytes];
  off_t offset = 0;
  for (;;) {
    ssize_t const n = ::pread(fd_, chunk, sizeof chunk, offset);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) break;
    if (data.size() + static_cast<std::size_t>(n) > kMaxReadBytes) {
      errno = EFBIG;
      return false;
    }
    data.append(chunk, static_cast<std::size_t>(n));
    offset += n;
  }
  text.swap(data);
  return true;
}

int64_t File::Size() const {
  struct stat info {};
  if (fd_ < 0 || ::fstat(fd_, &info) != 0) return -1;
  return static_cast<int64_t>(info.st_size);
}

void File::Close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  path_.clear();
}

}  // namespace utils
}  // namespace orvo
