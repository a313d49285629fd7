#include "json_number.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>

#include "orvo/variant/variant.h"

namespace orvo {
namespace variant {
namespace detail {

namespace {

template <typename Number>
bool ParseWhole(std::string_view text, Number& value) {
  auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

}  // namespace

bool NumberFromText(char const* text, std::size_t length, Variant& out) {
  std::string_view const number(text, length);
  bool const negative = !number.empty() && number[0] == '-';
  if (number.find_first_of(".eE") == std::string_view::npos) {
    long long integer = 0;
    if (ParseWhole(number, integer)) {
      out = integer;
      return true;
    }
    unsigned long long unsignedInteger = 0;
    if (!negative && ParseWhole(number, unsignedInteger)) {
      out = unsignedInteger;
      return true;
    }
  }
  // strtod rather than std::from_chars for doubles: the C library's
  // conversion is in the program anyway, the C++ library's brings its own
  // tables and the locale machinery (about 70 KB of the static program). The
  // program never leaves the "C" locale, so the decimal point is '.'.
  std::string const terminated(number);
  char* end = nullptr;
  errno = 0;
  double const value = std::strtod(terminated.c_str(), &end);
  if (end != terminated.c_str() + terminated.size()) return false;
  // Out of range: beyond the largest double is refused; below the smallest
  // one strtod has already given the signed zero or the nearest subnormal.
  if (errno == ERANGE && std::isinf(value)) return false;
  out = value;
  return true;
}

}  // namespace detail
}  // namespace variant
}  // namespace orvo
