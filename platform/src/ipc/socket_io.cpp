#include "socket_io.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <cstring>

namespace orvo {
namespace ipc {
namespace detail {

namespace {

constexpr std::size_t kReadChunkBytes = 16u * 1024u;

}  // namespace

int64_t monotonicUs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<int64_t>(ts.tv_sec) * 1000000 + ts.tv_nsec / 1000;
}

ConnectResult connectTo(std::string const& path, int& fd) {
  fd = -1;
  sockaddr_un address{};
  if (path.empty() || path.size() >= sizeof address.sun_path) return ConnectResult::kFailed;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  int const s = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (s < 0) return ConnectResult::kFailed;
  if (connect(s, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0) {
    fd = s;
    return ConnectResult::kConnected;
  }
  int const error = errno;
  close(s);
  // ENOENT: no socket file yet; ECONNREFUSED: a file nobody listens on;
  // EAGAIN: the listener's backlog is full. All may change a moment later.
  if (error == ENOENT || error == ECONNREFUSED || error == EAGAIN) return ConnectResult::kUnavailable;
  errno = error;
  return ConnectResult::kFailed;
}

bool writeSome(int fd, std::string const& data, std::size_t& offset) {
  while (offset < data.size()) {
    ssize_t const n = send(fd, data.data() + offset, data.size() - offset, MSG_NOSIGNAL);
    if (n > 0) {
      offset += static_cast<std::size_t>(n);
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    return n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
  }
  return true;
}

bool readAvailable(int fd, std::string& out) {
  char chunk[kReadChunkBytes];
  for (;;) {
    ssize_t const n = read(fd, chunk, sizeof chunk);
    if (n > 0) {
      out.append(chunk, static_cast<std::size_t>(n));
      // Hand back after one chunk so the decoder bounds what it buffers.
      return true;
    }
    if (n < 0 && errno == EINTR) continue;
    return n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
  }
}

bool waitFor(int fd, short events, int64_t deadlineUs) {
  for (;;) {
    int64_t const left = deadlineUs - monotonicUs();
    if (left <= 0) return false;
    pollfd entry{fd, events, 0};
    timespec limit{static_cast<time_t>(left / 1000000), static_cast<long>(left % 1000000) * 1000};
    int const n = ppoll(&entry, 1, &limit, nullptr);
    if (n > 0) return true;
    if (n < 0 && errno != EINTR) return false;
  }
}

bool makeFolders(std::string const& path) {
  for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
    std::string const part = path.substr(0, slash);
    if (mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) return false;
    if (slash == std::string::npos) break;
  }
  struct stat st {};
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

void closeFd(int& fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

}  // namespace detail
}  // namespace ipc
}  // namespace orvo
