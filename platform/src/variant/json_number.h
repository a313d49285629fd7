// Number tokens of JSON text to values. The reader hands over each number as
// text (already checked against the JSON grammar); converting it here
// (std::from_chars for integers, exact; strtod for the rest, correctly
// rounded) avoids RapidJSON 1.1.0's own conversion, which calls clz(0) on some long
// numbers (undefined behaviour found by fuzzing).
#pragma once

#include <cstddef>

namespace orvo {
namespace variant {

class Variant;

namespace detail {

// Stores the number into `out`: int64 when it is an integer that fits,
// uint64 for larger integers that fit, double otherwise (a double too small
// to represent becomes a signed zero). False when the magnitude exceeds the
// double range.
bool NumberFromText(char const* text, std::size_t length, Variant& out);

}  // namespace detail
}  // namespace variant
}  // namespace orvo
