#include "json_number.h"

#include <charconv>
#include <string_view>

#include "orvo/variant/variant.h"

namespace orvo {
namespace variant {
namespace detail {

namespace {

// Exponents are read with saturation at this bound, far beyond any double.
constexpr long kExponentCap = 1000000000L;

template <typename Number>
bool ParseWhole(std::string_view text, Number& value) {
  auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// Decimal order of magnitude of a grammatical JSON number that is not zero:
// the power of ten of its first non-zero digit, exponent included.
long DecimalMagnitude(std::string_view text) {
  std::size_t const exponentAt = text.find_first_of("eE");
  std::string_view const mantissa = text.substr(0, exponentAt);
  long exponent = 0;
  if (exponentAt != std::string_view::npos) {
    std::size_t at = exponentAt + 1;
    bool const negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    for (; at < text.size() && exponent < kExponentCap; ++at) exponent = exponent * 10 + (text[at] - '0');
    if (negative) exponent = -exponent;
  }
  std::size_t const point = mantissa.find('.');
  std::size_t const integerDigitsEnd = point == std::string_view::npos ? mantissa.size() : point;
  std::size_t const first = mantissa.find_first_of("123456789");
  long const position = first < integerDigitsEnd
                            ? static_cast<long>(integerDigitsEnd - first) - 1
                            : -static_cast<long>(first - integerDigitsEnd);
  return position + exponent;
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
  double value = 0;
  auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ptr != number.data() + number.size()) return false;
  if (result.ec == std::errc::result_out_of_range) {
    if (DecimalMagnitude(number) >= 0) return false;  // beyond the largest double
    value = negative ? -0.0 : 0.0;                     // below the smallest one
  } else if (result.ec != std::errc()) {
    return false;
  }
  out = value;
  return true;
}

}  // namespace detail
}  // namespace variant
}  // namespace orvo
