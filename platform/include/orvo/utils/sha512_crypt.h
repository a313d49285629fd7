// SHA-512 crypt ("$6$" hashes, the scheme the account file stores), on the
// SHA-512 of libsodium, which the program links for firmware signatures:
// the general crypt(3) library carries every historical scheme and about
// 200 KB of the static program with them.
#pragma once

#include <string>

namespace orvo {
namespace utils {

// crypt(3) of `password` with the "$6$[rounds=<n>$]<salt>" setting (a full
// hash may be given as the setting: its salt and rounds are used). "" when
// the setting is not a SHA-512 one or is malformed.
std::string sha512Crypt(std::string const& password, std::string const& setting);

// A fresh "$6$<salt>" setting: 16 salt characters from getrandom(2), the
// default 5000 rounds. "" when the generator fails.
std::string newSha512Setting();

}  // namespace utils
}  // namespace orvo
