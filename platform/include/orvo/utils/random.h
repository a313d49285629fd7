// Random strings from the kernel's generator (getrandom(2)), for session
// identifiers and the like.
#pragma once

#include <string>

namespace orvo {
namespace utils {

// The characters used when no alphabet is given: letters and digits.
constexpr char kAlphaNumeric[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
// Longest string one call makes.
constexpr unsigned long kMaxRandomStringLength = 4096;

// `length` characters drawn uniformly from `alphabet` (empty: kAlphaNumeric).
// "" when the generator fails or the length is 0 or above the limit.
std::string randomAlphaNumericString(std::string const& alphabet, unsigned long length);

}  // namespace utils
}  // namespace orvo
