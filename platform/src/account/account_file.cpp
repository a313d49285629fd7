// The account file's format: one line "<user>:<crypt hash>".
#include <cstddef>
#include <string>

#include "orvo/utils/account.h"

namespace orvo {
namespace utils {

namespace {

// Longest crypt(3) output of the schemes we store (SHA-512 and yescrypt
// stay well below this).
constexpr std::size_t kMaxHashLength = 256;

// User names are printable ASCII without ':' so a line splits one way only.
bool validUser(std::string const& user) {
  if (user.empty() || user.size() > kMaxUserNameLength) return false;
  for (unsigned char c : user) {
    if (c <= ' ' || c >= 0x7f || c == ':') return false;
  }
  return true;
}

// crypt(3) writes only [A-Za-z0-9./$,=-] (yescrypt parameters include more
// punctuation-free characters); anything else is a damaged file.
bool validHash(std::string const& hash) {
  if (hash.size() < 2 || hash.size() > kMaxHashLength || hash[0] != '$') return false;
  for (unsigned char c : hash) {
    bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
              c == '.' || c == '/' || c == '$' || c == ',' || c == '=' || c == '-';
    if (!ok) return false;
  }
  return true;
}

}  // namespace

bool parseAccountRecord(std::string const& text, AccountRecord& record) {
  if (text.size() > kMaxAccountFileBytes) return false;
  std::string line = text;
  if (!line.empty() && line.back() == '\n') line.pop_back();
  if (line.find('\n') != std::string::npos) return false;
  std::size_t colon = line.find(':');
  if (colon == std::string::npos) return false;
  AccountRecord parsed{line.substr(0, colon), line.substr(colon + 1)};
  if (!validUser(parsed.user) || !validHash(parsed.hash)) return false;
  record = parsed;
  return true;
}

std::string formatAccountRecord(AccountRecord const& record) {
  return record.user + ":" + record.hash + "\n";
}

bool constantTimeEquals(std::string const& a, std::string const& b) {
  // Walks the longer string whole, so the time tells only the lengths.
  std::size_t length = a.size() > b.size() ? a.size() : b.size();
  unsigned char diff = a.size() == b.size() ? 0 : 1;
  for (std::size_t i = 0; i < length; ++i) {
    unsigned char x = i < a.size() ? static_cast<unsigned char>(a[i]) : 0;
    unsigned char y = i < b.size() ? static_cast<unsigned char>(b[i]) : 0;
    diff |= static_cast<unsigned char>(x ^ y);
  }
  return diff == 0;
}

}  // namespace utils
}  // namespace orvo
