#include "orvo/utils/uuid.h"

#include <cctype>

namespace orvo {
namespace utils {

namespace {

constexpr std::size_t kUuidTextLength = 36;  // 8-4-4-4-12 with hyphens
constexpr std::size_t kUuidDigits = 32;

bool isHyphenAt(std::size_t i) { return i == 8 || i == 13 || i == 18 || i == 23; }

bool hyphenated(std::string const& text) {
  if (text.size() != kUuidTextLength) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (isHyphenAt(i) ? c != '-' : !std::isxdigit(c)) return false;
  }
  return true;
}

bool plainDigits(std::string const& text) {
  if (text.size() != kUuidDigits) return false;
  for (unsigned char c : text) {
    if (!std::isxdigit(c)) return false;
  }
  return true;
}

}  // namespace

bool uuid_valid(std::string const& uuid, bool strict) {
  if (strict) return hyphenated(uuid);
  std::string text = uuid;
  if (text.size() >= 2 && text.front() == '{' && text.back() == '}') {
    text = text.substr(1, text.size() - 2);
  }
  return hyphenated(text) || plainDigits(text);
}

}  // namespace utils
}  // namespace orvo
