#include "text_format.h"

#include <charconv>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace orvo {
namespace variant {
namespace detail {

namespace {

// Longest shortest-form double ("-2.2250738585072014e-308") plus ".0".
constexpr std::size_t kDoubleTextMax = 32;
// "-2147483648-12-31T23:59:59.999999Z" with room to spare.
constexpr std::size_t kTimeTextMax = 48;
constexpr long kMicrosPerSecond = 1000000;

}  // namespace

std::string FormatDouble(double value, bool keepDouble) {
  char text[kDoubleTextMax];
  auto result = std::to_chars(text, text + sizeof text - 2, value);
  std::size_t length = static_cast<std::size_t>(result.ptr - text);
  // Integral values come out as "1" or "-0"; letters mean nan/inf or an exponent.
  if (keepDouble && std::string_view(text, length).find_first_of(".eni") == std::string_view::npos) {
    text[length++] = '.';
    text[length++] = '0';
  }
  return std::string(text, length);
}

std::string FormatTimeUtc(timeval const& value) {
  // A caller may hand over a timeval with microseconds outside 0..999999.
  time_t seconds = value.tv_sec + value.tv_usec / kMicrosPerSecond;
  long micros = value.tv_usec % kMicrosPerSecond;
  if (micros < 0) {
    micros += kMicrosPerSecond;
    --seconds;
  }
  tm parts{};
  if (gmtime_r(&seconds, &parts) == nullptr) return std::string();
  char text[kTimeTextMax];
  int length = std::snprintf(text, sizeof text, "%04lld-%02d-%02dT%02d:%02d:%02d.%06ldZ",
                             static_cast<long long>(parts.tm_year) + 1900, parts.tm_mon + 1,
                             parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, micros);
  if (length <= 0 || static_cast<std::size_t>(length) >= sizeof text) return std::string();
  return std::string(text, static_cast<std::size_t>(length));
}

}  // namespace detail
}  // namespace variant
}  // namespace orvo
