// RapidJSON, included in one place. Its internal stack computes
// `nullptr + size` before its first allocation (rapidjson 1.1.0, stack.h),
// which UBSan's pointer-overflow check reports on every parse and write;
// the arithmetic is harmless there, so that one check is off for RapidJSON's
// own functions and stays on for ours.
#pragma once

#if defined(__clang__)
#pragma clang attribute push(__attribute__((no_sanitize("pointer-overflow"))), apply_to = function)
#endif

#include <rapidjson/memorystream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#if defined(__clang__)
#pragma clang attribute pop
#endif

#include <cstdint>
#include <cstring>

namespace orvo {
namespace variant {
namespace detail {

// How every reader of ours parses. Full precision is kept for the record:
// with numbers handed over as text, the conversion is ours and always exact
// or correctly rounded. The reader does not validate UTF-8 itself: the
// handlers check every decoded string and key, which holds the raw bytes as
// they came and what escapes made of them (a lone "\uDC00"), and bytes
// outside strings are a syntax error.
constexpr unsigned kReaderFlags = rapidjson::kParseIterativeFlag |
                                  rapidjson::kParseFullPrecisionFlag |
                                  rapidjson::kParseNumbersAsStringsFlag;

// RapidJSON stops at a NUL byte as if the input ended there: a raw NUL is
// never valid JSON, but the reader would accept "1\0junk".
inline bool HasNul(char const* text, std::size_t length) {
  return std::memchr(text, '\0', length) != nullptr;
}

// With kReaderFlags every number arrives as text (RawNumber): a handler's
// typed number events never come, and refuse if they did.
struct NumbersAsTextHandler {
  bool Int(int) { return false; }
  bool Uint(unsigned) { return false; }
  bool Int64(int64_t) { return false; }
  bool Uint64(uint64_t) { return false; }
  bool Double(double) { return false; }
};

}  // namespace detail
}  // namespace variant
}  // namespace orvo
