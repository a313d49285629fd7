#include "orvo/utils/clock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "orvo/utils/paths.h"

namespace orvo {
namespace utils {

namespace {

// Longest text accepted in the offset file ("-9223372036854775808\n").
constexpr std::size_t kOffsetFileMax = 32;

int64_t readOffset() {
  if (!insideSimulatedCamera()) return 0;
  int fd = ::open(devicePath("/sim/clock").c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  char text[kOffsetFileMax + 1];
  ssize_t n = ::read(fd, text, kOffsetFileMax);
  ::close(fd);
  if (n <= 0) return 0;
  text[n] = '\0';
  char* end = nullptr;
  long long value = std::strtoll(text, &end, 10);
  return end == text ? 0 : value;
}

}  // namespace

int64_t clockOffsetSeconds() {
  // One request is one process: the offset is read once, on first use.
  static int64_t const offset = readOffset();
  return offset;
}

timeval now() {
  timespec ts{};
  clock_gettime(CLOCK_REALTIME, &ts);
  timeval tv{};
  tv.tv_sec = ts.tv_sec + static_cast<time_t>(clockOffsetSeconds());
  tv.tv_usec = ts.tv_nsec / 1000;
  return tv;
}

uint64_t nowMs() {
  timeval tv = now();
  return static_cast<uint64_t>(tv.tv_sec) * 1000u + static_cast<uint64_t>(tv.tv_usec) / 1000u;
}

time_t moment() { return now().tv_sec; }

}  // namespace utils
}  // namespace orvo
