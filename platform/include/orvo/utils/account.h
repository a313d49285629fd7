// The camera's one account and its auth token, kept in the camera's files.
// The password is stored only as a crypt(3) hash ("<user>:<hash>" on one
// line); the token is compared in constant time. Functions returning int
// give 0 when the check or change could be made, -1 otherwise (errno set
// where a system call failed).
#pragma once

#include <cstddef>
#include <string>

namespace orvo {
namespace utils {

// Device paths (mapped through devicePath).
constexpr char kAccountFile[] = "/etc/orvo/account";
constexpr char kAuthTokenFile[] = "/etc/orvo/auth_token";

// Bounds on what is read and accepted; longer input is refused, not cut.
constexpr std::size_t kMaxAccountFileBytes = 1024;
constexpr std::size_t kMaxUserNameLength = 32;
constexpr std::size_t kMaxPasswordLength = 128;
constexpr std::size_t kMaxAuthTokenLength = 256;

struct AccountRecord {
  std::string user;
  std::string hash;  // crypt(3) output: "$<scheme>$..."
};

// Pure parse of the account file: one line "<user>:<hash>", an optional
// final newline. False for anything else (empty user, bad characters,
// a hash that does not start with '$', oversized fields).
bool parseAccountRecord(std::string const& text, AccountRecord& record);
// The file line for a record (no validation).
std::string formatAccountRecord(AccountRecord const& record);

// Whether `user` and `password` open the account. ok is false for a wrong
// pair; the result is -1 only when the account cannot be read.
int authenticatePassword(std::string const& user, std::string const& password, bool& ok);
// Whether `token` is the camera's auth token (none set: never).
int authenticateToken(std::string const& token, bool& ok);

// The account's user name (never the hash), for answers that report it.
int accountUserName(std::string& user);

// Replaces the account with `user` and a fresh hash of `password`.
int setAccount(std::string const& user, std::string const& password);
// Sets the auth token; an empty token removes it.
int setAuthToken(std::string const& token);

enum class PasswordChange {
  kChanged,
  kRefused,      // old credentials wrong, or new ones unacceptable
  kStoreFailed,  // account unreadable or not written
};
// The controller's credential change: the old pair must open the account
// (an empty `oldUser` checks only the password), then the account becomes
// `newUser` (empty: unchanged) with `newPassword`.
PasswordChange changePassword(std::string const& oldUser, std::string const& oldPassword,
                              std::string const& newUser, std::string const& newPassword);

// Byte-wise equality whose time depends only on the lengths.
bool constantTimeEquals(std::string const& a, std::string const& b);

}  // namespace utils
}  // namespace orvo
