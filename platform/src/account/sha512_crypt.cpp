// SHA-512 crypt: the password and salt mixed through a number of SHA-512
// rounds, written out in crypt(3)'s own base-64 alphabet and byte order.
#include "orvo/utils/sha512_crypt.h"

#include <sodium.h>

#include <cstddef>
#include <string>

#include "orvo/utils/random.h"

namespace orvo {
namespace utils {

namespace {

constexpr char kPrefix[] = "$6$";
constexpr char kRoundsPrefix[] = "rounds=";
constexpr char kAlphabet[] = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr std::size_t kDigestBytes = crypto_hash_sha512_BYTES;
constexpr std::size_t kMaxSaltLength = 16;
constexpr unsigned long kDefaultRounds = 5000;
constexpr unsigned long kMinRounds = 1000;
constexpr unsigned long kMaxRounds = 999999999;

using Digest = unsigned char[kDigestBytes];

struct Sha512 {
  crypto_hash_sha512_state state;
  Sha512() { crypto_hash_sha512_init(&state); }
  ~Sha512() { sodium_memzero(&state, sizeof state); }
  void add(void const* data, std::size_t size) {
    crypto_hash_sha512_update(&state, static_cast<unsigned char const*>(data), size);
  }
  void add(std::string const& text) { add(text.data(), text.size()); }
  void finish(Digest out) { crypto_hash_sha512_final(&state, out); }
};

// `length` bytes of `digest` repeated: the password and salt stand-ins of
// the rounds.
std::string repeated(Digest const digest, std::size_t length) {
  std::string out;
  out.reserve(length);
  for (; length > kDigestBytes; length -= kDigestBytes) {
    out.append(reinterpret_cast<char const*>(digest), kDigestBytes);
  }
  out.append(reinterpret_cast<char const*>(digest), length);
  return out;
}

struct Setting {
  std::string salt;
  unsigned long rounds = kDefaultRounds;
  bool roundsGiven = false;
};

// "rounds=<n>$" when present: decimal, no leading zero, within the bounds.
bool parseRounds(std::string const& text, std::size_t& at, Setting& setting) {
  std::size_t const prefixLength = sizeof kRoundsPrefix - 1;
  if (text.compare(at, prefixLength, kRoundsPrefix) != 0) return true;
  std::size_t end = at + prefixLength;
  unsigned long rounds = 0;
  for (; end < text.size() && text[end] >= '0' && text[end] <= '9'; ++end) {
    rounds = rounds * 10 + static_cast<unsigned long>(text[end] - '0');
    if (rounds > kMaxRounds) return false;
  }
  std::size_t const digits = end - at - prefixLength;
  if (digits == 0 || text[at + prefixLength] == '0' || end >= text.size() || text[end] != '$' ||
      rounds < kMinRounds) {
    return false;
  }
  setting.rounds = rounds;
  setting.roundsGiven = true;
  at = end + 1;
  return true;
}

bool parseSetting(std::string const& text, Setting& setting) {
  std::size_t const prefixLength = sizeof kPrefix - 1;
  if (text.compare(0, prefixLength, kPrefix) != 0) return false;
  std::size_t at = prefixLength;
  if (!parseRounds(text, at, setting)) return false;
  std::size_t end = at;
  while (end < text.size() && text[end] != '$' && end - at < kMaxSaltLength) {
    char const c = text[end];
    bool const known = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                       (c >= '0' && c <= '9') || c == '.' || c == '/';
    if (!known) return false;
    ++end;
  }
  setting.salt = text.substr(at, end - at);
  return true;
}

// The rounds: each digest feeds the next, mixed with the password and salt
// stand-ins in a pattern set by the round's number.
void runRounds(Digest digest, std::string const& passwordBytes, std::string const& saltBytes,
               unsigned long rounds) {
  for (unsigned long round = 0; round < rounds; ++round) {
    Sha512 hash;
    if (round & 1) {
      hash.add(passwordBytes);
    } else {
      hash.add(digest, kDigestBytes);
    }
    if (round % 3 != 0) hash.add(saltBytes);
    if (round % 7 != 0) hash.add(passwordBytes);
    if (round & 1) {
      hash.add(digest, kDigestBytes);
    } else {
      hash.add(passwordBytes);
    }
    hash.finish(digest);
  }
}

// Four characters for three bytes (two for the last byte alone), least
// significant six bits first.
void appendBase64(std::string& out, unsigned char b2, unsigned char b1, unsigned char b0,
                  int characters) {
  unsigned long bits = (static_cast<unsigned long>(b2) << 16) | (static_cast<unsigned long>(b1) << 8) | b0;
  for (int i = 0; i < characters; ++i, bits >>= 6) out += kAlphabet[bits & 0x3f];
}

// The digest's bytes in the scheme's order: 21 triples, each starting 22
// bytes after the previous one and striding by 21 (modulo 63), then the
// last byte alone.
std::string encodeDigest(Digest const digest) {
  std::string out;
  for (int i = 0; i < 21; ++i) {
    int const first = (i * 22) % 63;
    appendBase64(out, digest[first], digest[(first + 21) % 63], digest[(first + 42) % 63], 4);
  }
  appendBase64(out, 0, 0, digest[63], 2);
  return out;
}

}  // namespace

std::string sha512Crypt(std::string const& password, std::string const& settingText) {
  Setting setting;
  if (!parseSetting(settingText, setting)) return "";
  std::string const& salt = setting.salt;

  Digest alternate;
  Sha512 alternateHash;
  alternateHash.add(password);
  alternateHash.add(salt);
  alternateHash.add(password);
  alternateHash.finish(alternate);

  Digest digest;
  Sha512 hash;
  hash.add(password);
  hash.add(salt);
  std::string const alternateRun = repeated(alternate, password.size());
  hash.add(alternateRun);
  for (std::size_t length = password.size(); length > 0; length >>= 1) {
    if (length & 1) {
      hash.add(alternate, kDigestBytes);
    } else {
      hash.add(password);
    }
  }
  hash.finish(digest);

  Digest passwordDigest;
  Sha512 passwordHash;
  for (std::size_t i = 0; i < password.size(); ++i) passwordHash.add(password);
  passwordHash.finish(passwordDigest);
  std::string passwordBytes = repeated(passwordDigest, password.size());

  Digest saltDigest;
  Sha512 saltHash;
  for (unsigned i = 0; i < 16u + digest[0]; ++i) saltHash.add(salt);
  saltHash.finish(saltDigest);
  std::string const saltBytes = repeated(saltDigest, salt.size());

  runRounds(digest, passwordBytes, saltBytes, setting.rounds);

  std::string out = kPrefix;
  if (setting.roundsGiven) out += kRoundsPrefix + std::to_string(setting.rounds) + "$";
  out += salt + "$" + encodeDigest(digest);
  sodium_memzero(&passwordBytes[0], passwordBytes.size());
  sodium_memzero(alternate, sizeof alternate);
  sodium_memzero(passwordDigest, sizeof passwordDigest);
  sodium_memzero(digest, sizeof digest);
  return out;
}

std::string newSha512Setting() {
  std::string const salt = randomAlphaNumericString(kAlphabet, kMaxSaltLength);
  return salt.empty() ? std::string() : kPrefix + salt;
}

}  // namespace utils
}  // namespace orvo
