// Socket and clock helpers shared by the sending and the serving side of the
// bus. Internal to the platform library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace orvo {
namespace ipc {
namespace detail {

// Monotonic clock in microseconds: every bus time limit is measured on it.
int64_t monotonicUs();

// Outcome of a non-blocking connect to a daemon's socket.
enum class ConnectResult { kConnected, kUnavailable, kFailed };
// Opens a non-blocking stream socket to `path`. kUnavailable: nobody
// listens there (yet) or its backlog is full; worth retrying.
ConnectResult connectTo(std::string const& path, int& fd);

// Writes as much of data[offset..] as the socket takes now. Returns false on
// a write error (peer gone); never raises SIGPIPE.
bool writeSome(int fd, std::string const& data, std::size_t& offset);

// Reads what is available into `out`. Returns false on end of stream or error.
bool readAvailable(int fd, std::string& out);

// Waits on `fd` for the events `events` at most until `deadlineUs`.
bool waitFor(int fd, short events, int64_t deadlineUs);

// Creates `path` and its missing parents (mode 0755).
bool makeFolders(std::string const& path);

void closeFd(int& fd);

}  // namespace detail
}  // namespace ipc
}  // namespace orvo
