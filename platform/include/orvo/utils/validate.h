// Syntax checks of values that callers hand to the daemons.
#pragma once

#include <cstddef>
#include <string>

namespace orvo {
namespace utils {

// A WPA pre-shared key: a passphrase of 8 to 63 characters, or the raw key
// as exactly 64 hexadecimal digits.
constexpr std::size_t kMinPassphraseBytes = 8;
constexpr std::size_t kMaxPassphraseBytes = 63;
constexpr std::size_t kRawPskHexDigits = 64;

// `strict` true: the passphrase may hold only printable ASCII (0x20..0x7E),
// as the standard requires. `strict` false: any bytes but NUL and control
// characters.
bool psk_valid(std::string const& psk, bool strict);

}  // namespace utils
}  // namespace orvo
