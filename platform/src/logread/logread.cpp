#include "orvo/utils/logread.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "orvo/utils/paths.h"

namespace orvo {
namespace utils {

namespace {

constexpr char kCurrentLog[] = "/var/log/messages";
constexpr char kRotatedLog[] = "/var/log/messages.0";

int openLog(char const* devicePathOfLog) {
  return ::open(devicePath(devicePathOfLog).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
}

bool readAll(int fd, Logread::Callback callback, void* context) {
  char chunk[Logread::kChunkBytes];
  for (;;) {
    ssize_t const n = ::read(fd, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) return true;
    callback(chunk, static_cast<std::size_t>(n), context);
  }
}

void closeFd(int& fd) {
  if (fd >= 0) ::close(fd);
  fd = -1;
}

}  // namespace

Logread::~Logread() {
  closeFd(rotated_);
  closeFd(current_);
}

bool Logread::Initialize() {
  closeFd(rotated_);
  closeFd(current_);
  // Both are opened now, so a rotation in between cannot show a text twice.
  rotated_ = openLog(kRotatedLog);
  current_ = openLog(kCurrentLog);
  if (current_ >= 0) return true;
  int const err = errno;
  closeFd(rotated_);
  errno = err;
  return false;
}

bool Logread::ForEach(Callback callback, void* context) {
  if (current_ < 0 || callback == nullptr) {
    errno = EBADF;
    return false;
  }
  if (rotated_ >= 0 && !readAll(rotated_, callback, context)) return false;
  return readAll(current_, callback, context);
}

}  // namespace utils
}  // namespace orvo
