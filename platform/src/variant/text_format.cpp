#include "text_format.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

namespace orvo {
namespace variant {
namespace detail {

namespace {

// Longest shortest-form double ("-2.2250738585072014e-308") plus ".0".
constexpr std::size_t kDoubleTextMax = 32;
// Every double reads back from 17 significant digits.
constexpr int kMaxDoubleDigits = 17;
// "-2147483648-12-31T23:59:59.999999Z" with room to spare.
constexpr std::size_t kTimeTextMax = 48;
constexpr long kMicrosPerSecond = 1000000;

// The fewest significant digits that read back as `value` (finite, above
// zero), the nearest such digits where several do: into `digits` without a
// point, the decimal exponent of the first into `exponent`. printf rounds to
// the nearest digits of a precision; where a power of two lies closer to its
// lower neighbour than to its upper one, the digits one step up may read
// back where the nearest do not.
int ShortestDigits(double value, char* digits, int& exponent) {
  char text[kDoubleTextMax];
  for (int precision = 1; precision <= kMaxDoubleDigits; ++precision) {
    std::snprintf(text, sizeof text, "%.*e", precision - 1, value);
    unsigned long long nearest = 0;
    char const* at = text;
    for (; *at != 'e'; ++at) {
      if (*at != '.') nearest = nearest * 10 + static_cast<unsigned>(*at - '0');
    }
    int const scale = std::atoi(at + 1) - (precision - 1);
    for (unsigned long long candidate : {nearest, nearest + 1, nearest - 1}) {
      std::snprintf(text, sizeof text, "%llue%d", candidate, scale);
      if (std::strtod(text, nullptr) != value) continue;
      int count = std::snprintf(digits, kDoubleTextMax, "%llu", candidate);
      exponent = scale + count - 1;
      while (count > 1 && digits[count - 1] == '0') --count;
      return count;
    }
  }
  return 0;  // not reached: 17 digits always read back
}

// The shorter of the fixed and the scientific form, fixed on a tie, as
// std::to_chars writes them: "100", "1e+21", "0.001", "1e-05", "-inf".
std::size_t ShortestText(double value, char* text) {
  if (!std::isfinite(value) || value == 0) {
    return static_cast<std::size_t>(std::snprintf(text, kDoubleTextMax, "%g", value));
  }
  char digits[kDoubleTextMax];
  int exponent = 0;
  int const count = ShortestDigits(std::fabs(value), digits, exponent);
  char* out = text;
  auto put = [&out](char const* from, int n) {
    std::memcpy(out, from, static_cast<std::size_t>(n));
    out += n;
  };
  if (value < 0) *out++ = '-';
  int const exponentDigits = std::abs(exponent) >= 100 ? 3 : 2;
  int const scientificLength = count + (count > 1) + 2 + exponentDigits;
  int const fixedLength = exponent < 0 ? 1 - exponent + count : std::max(exponent + 1, count + 1);
  if (fixedLength > scientificLength) {
    put(digits, 1);
    if (count > 1) {
      *out++ = '.';
      put(digits + 1, count - 1);
    }
    out += std::snprintf(out, kDoubleTextMax, "e%c%0*d", exponent < 0 ? '-' : '+', exponentDigits,
                         std::abs(exponent));
  } else if (exponent < 0) {
    put("0.", 2);
    std::memset(out, '0', static_cast<std::size_t>(-exponent - 1));
    out += -exponent - 1;
    put(digits, count);
  } else if (exponent + 1 >= count) {
    // An integer: every digit is shown, so the exact ones are the nearest.
    out += std::snprintf(out, kDoubleTextMax, "%.0f", std::fabs(value));
  } else {
    put(digits, exponent + 1);
    *out++ = '.';
    put(digits + exponent + 1, count - exponent - 1);
  }
  return static_cast<std::size_t>(out - text);
}

}  // namespace

std::string FormatDouble(double value, bool keepDouble) {
  char text[kDoubleTextMax];
  std::size_t length = ShortestText(value, text);
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
