#include "utf8.h"

#include <cstdint>
#include <cstring>

namespace orvo {
namespace variant {
namespace detail {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

bool IsContinuation(uint8_t byte) { return (byte & 0xC0) == 0x80; }

// Length of the well-formed sequence at text[0..available), or 0.
std::size_t SequenceLength(uint8_t const* text, std::size_t available) {
  uint8_t const lead = text[0];
  if (lead < 0x80) return 1;
  std::size_t length = 0;
  // Bounds of the second byte, which exclude overlong forms, surrogates
  // (U+D800..U+DFFF) and code points above U+10FFFF.
  uint8_t low = 0x80, high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return 0;
  }
  if (available < length || text[1] < low || text[1] > high) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (!IsContinuation(text[i])) return 0;
  }
  return length;
}

}  // namespace

bool IsValidUtf8(char const* text, std::size_t length) {
  auto const* bytes = reinterpret_cast<uint8_t const*>(text);
  std::size_t at = 0;
  while (at < length) {
    // Most text is ASCII: eight bytes at a time while none has its top bit.
    while (length - at >= sizeof(uint64_t)) {
      uint64_t word;
      std::memcpy(&word, bytes + at, sizeof word);
      if (word & UINT64_C(0x8080808080808080)) break;
      at += sizeof word;
    }
    if (at == length) break;
    std::size_t step = SequenceLength(bytes + at, length - at);
    if (step == 0) return false;
    at += step;
  }
  return true;
}

std::string RepairUtf8(std::string const& text) {
  auto const* bytes = reinterpret_cast<uint8_t const*>(text.data());
  std::string out;
  out.reserve(text.size() + 8);
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t step = SequenceLength(bytes + at, text.size() - at);
    if (step == 0) {
      out += kReplacement;
      ++at;
    } else {
      out.append(text, at, step);
      at += step;
    }
  }
  return out;
}

}  // namespace detail
}  // namespace variant
}  // namespace orvo
