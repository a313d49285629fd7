// Reads the system log as the device keeps it: the current file
// "/var/log/messages" and, when rotation left one, its predecessor
// "/var/log/messages.0", oldest text first.
#pragma once

#include <cstddef>

namespace orvo {
namespace utils {

class Logread {
 public:
  using Callback = void (*)(char const* chunk, std::size_t length, void* context);

  // Largest chunk handed to a callback.
  static constexpr std::size_t kChunkBytes = 16 * 1024;

  Logread() = default;
  ~Logread();
  Logread(Logread const&) = delete;
  Logread& operator=(Logread const&) = delete;

  // Opens the log files; false (errno set) when the current log cannot be
  // opened. A missing predecessor is no error.
  bool Initialize();
  // Hands the whole log to `callback`, chunk by chunk, in order; false when
  // not initialised or a read fails.
  bool ForEach(Callback callback, void* context);

 private:
  int rotated_ = -1;
  int current_ = -1;
};

}  // namespace utils
}  // namespace orvo
