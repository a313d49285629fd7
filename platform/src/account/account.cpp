// The account store: reading and replacing the account and token files, and
// the checks against them.
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "orvo/utils/account.h"
#include "orvo/utils/file.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/sha512_crypt.h"

namespace orvo {
namespace utils {

namespace {

constexpr char kAccountFolder[] = "/etc/orvo";

// Replaces the file whole, mode 0600: a reader sees the old content or the
// new, never a part.
int replaceFile(std::string const& devicePathName, std::string const& text) {
  ::mkdir(devicePath("/etc").c_str(), 0755);
  ::mkdir(devicePath(kAccountFolder).c_str(), 0755);
  return replaceFileAtomically(devicePath(devicePathName), text, 0600, false) ? 0 : -1;
}

// The hash of `password` with the salt and rounds of `setting`; "" when the
// setting is not a SHA-512 crypt one. New hashes take the default 5000
// rounds: strong enough for a camera's one account, cheap enough for a CGI.
std::string hashWith(std::string const& password, std::string const& setting) {
  return sha512Crypt(password, setting);
}

std::string newHash(std::string const& password) {
  std::string const setting = newSha512Setting();
  return setting.empty() ? std::string() : hashWith(password, setting);
}

int readAccount(AccountRecord& record) {
  std::string text;
  if (!readFileBounded(devicePath(kAccountFile), kMaxAccountFileBytes, text)) return -1;
  if (!parseAccountRecord(text, record)) {
    errno = EINVAL;
    return -1;
  }
  return 0;
}

bool acceptableCredentials(std::string const& user, std::string const& password) {
  AccountRecord probe{user, "$x"};
  std::string line = formatAccountRecord(probe);
  return parseAccountRecord(line, probe) && !password.empty() &&
         password.size() <= kMaxPasswordLength && password.find('\0') == std::string::npos;
}

}  // namespace

int authenticatePassword(std::string const& user, std::string const& password, bool& ok) {
  ok = false;
  AccountRecord account;
  if (readAccount(account) != 0) return -1;
  if (password.size() > kMaxPasswordLength || password.find('\0') != std::string::npos) {
    return 0;
  }
  // The hash is computed whatever the user name, so a wrong name costs the
  // same time as a wrong password.
  std::string hash = hashWith(password, account.hash);
  bool userMatches = constantTimeEquals(user, account.user);
  bool passwordMatches = !hash.empty() && constantTimeEquals(hash, account.hash);
  ok = userMatches && passwordMatches;
  return 0;
}

int authenticateToken(std::string const& token, bool& ok) {
  ok = false;
  std::string stored;
  if (!readFileBounded(devicePath(kAuthTokenFile), kMaxAuthTokenLength + 1, stored)) {
    // No token file: there is no token to match, which is a verdict.
    return errno == ENOENT ? 0 : -1;
  }
  if (!stored.empty() && stored.back() == '\n') stored.pop_back();
  if (stored.empty() || token.empty() || token.size() > kMaxAuthTokenLength) return 0;
  ok = constantTimeEquals(token, stored);
  return 0;
}

int accountUserName(std::string& user) {
  AccountRecord account;
  if (readAccount(account) != 0) return -1;
  user = account.user;
  return 0;
}

int setAccount(std::string const& user, std::string const& password) {
  if (!acceptableCredentials(user, password)) {
    errno = EINVAL;
    return -1;
  }
  std::string hash = newHash(password);
  if (hash.empty()) return -1;
  return replaceFile(kAccountFile, formatAccountRecord({user, hash}));
}

int setAuthToken(std::string const& token) {
  if (token.empty()) {
    int rc = ::unlink(devicePath(kAuthTokenFile).c_str());
    return (rc == 0 || errno == ENOENT) ? 0 : -1;
  }
  if (token.size() > kMaxAuthTokenLength || token.find_first_of(std::string("\n\0", 2)) !=
                                                   std::string::npos) {
    errno = EINVAL;
    return -1;
  }
  return replaceFile(kAuthTokenFile, token + "\n");
}

PasswordChange changePassword(std::string const& oldUser, std::string const& oldPassword,
                              std::string const& newUser, std::string const& newPassword) {
  AccountRecord account;
  if (readAccount(account) != 0) return PasswordChange::kStoreFailed;
  bool ok = false;
  std::string const checkedUser = oldUser.empty() ? account.user : oldUser;
  if (authenticatePassword(checkedUser, oldPassword, ok) != 0) return PasswordChange::kStoreFailed;
  if (!ok) return PasswordChange::kRefused;
  std::string const user = newUser.empty() ? account.user : newUser;
  if (!acceptableCredentials(user, newPassword)) return PasswordChange::kRefused;
  return setAccount(user, newPassword) == 0 ? PasswordChange::kChanged
                                            : PasswordChange::kStoreFailed;
}

}  // namespace utils
}  // namespace orvo
