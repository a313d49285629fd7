#include "orvo/utils/random.h"

#include <errno.h>
#include <sys/random.h>

#include <cstring>
#include <vector>

namespace orvo {
namespace utils {

namespace {

// Fills `out` completely: getrandom may return fewer bytes than asked (or be
// interrupted), so a short read is continued, never taken as the whole.
bool fillRandom(unsigned char* out, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    ssize_t got = ::getrandom(out + done, size - done, 0);
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    done += static_cast<std::size_t>(got);
  }
  return true;
}

}  // namespace

std::string randomAlphaNumericString(std::string const& alphabet, unsigned long length) {
  std::string const chars = alphabet.empty() ? std::string(kAlphaNumeric) : alphabet;
  if (length == 0 || length > kMaxRandomStringLength || chars.size() > 256) return "";
  // Bytes at or above the largest multiple of the alphabet size are
  // dropped, so every character is equally likely.
  unsigned const limit = 256u - (256u % static_cast<unsigned>(chars.size()));
  std::string out;
  out.reserve(length);
  std::vector<unsigned char> pool(length + 16);
  while (out.size() < length) {
    if (!fillRandom(pool.data(), pool.size())) return "";
    for (unsigned char byte : pool) {
      if (byte >= limit) continue;
      out += chars[byte % chars.size()];
      if (out.size() == length) break;
    }
  }
  return out;
}

}  // namespace utils
}  // namespace orvo
