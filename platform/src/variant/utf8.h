// UTF-8 checks shared by the JSON reader (which refuses what escapes can
// smuggle past the input check, such as a lone "\uDC00") and the writer
// (which must never emit invalid UTF-8, whatever a caller stored).
#pragma once

#include <cstddef>
#include <string>

namespace orvo {
namespace variant {
namespace detail {

// Well-formed UTF-8 (RFC 3629): no overlong forms, no surrogates, nothing
// above U+10FFFF.
bool IsValidUtf8(char const* text, std::size_t length);
// `text` with every byte that does not start a well-formed sequence replaced
// by U+FFFD.
std::string RepairUtf8(std::string const& text);

}  // namespace detail
}  // namespace variant
}  // namespace orvo
