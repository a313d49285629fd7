#include "orvo/utils/validate.h"

namespace orvo {
namespace utils {

namespace {

bool isHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool allHex(std::string const& text) {
  for (char c : text) {
    if (!isHexDigit(c)) return false;
  }
  return true;
}

bool passphraseCharacterAllowed(unsigned char byte, bool strict) {
  if (strict) return byte >= 0x20 && byte <= 0x7e;
  return byte >= 0x20 && byte != 0x7f;
}

}  // namespace

bool psk_valid(std::string const& psk, bool strict) {
  if (psk.size() == kRawPskHexDigits) return allHex(psk);
  if (psk.size() < kMinPassphraseBytes || psk.size() > kMaxPassphraseBytes) return false;
  for (char c : psk) {
    if (!passphraseCharacterAllowed(static_cast<unsigned char>(c), strict)) return false;
  }
  return true;
}

}  // namespace utils
}  // namespace orvo
