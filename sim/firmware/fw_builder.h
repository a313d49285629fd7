// Building firmware images (the format of orvo/utils/fw_format.h) for the
// simulated camera and the tests: a generated payload, signed with a key
// pair's secret half or not at all, optionally damaged on purpose.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace orvo {
namespace sim {

constexpr std::size_t kSeedBytes = 32;       // a key file holds the seed
constexpr std::size_t kSecretKeyBytes = 64;  // libsodium's secret key
constexpr std::size_t kPublicKeyBytes = 32;

struct SigningKey {
  unsigned char secret[kSecretKeyBytes];
  unsigned char publicKey[kPublicKeyBytes];
};

enum class Corruption { kNone, kHeader, kPayload, kSignature };

struct FwImageRecipe {
  std::string version;
  std::uint64_t payloadBytes = 1024 * 1024;
  SigningKey const* key = nullptr;  // nullptr: unsigned
  Corruption corruption = Corruption::kNone;
};

// The key pair of a 32-byte seed.
bool KeyFromSeed(unsigned char const* seed, SigningKey& key);
// A new key pair from getrandom: the seed as hex into `secretPath` (0600,
// never replacing a file), the public key as hex into `publicPath`.
bool WriteNewKey(std::string const& secretPath, std::string const& publicPath, std::string& error);
bool ReadKey(std::string const& secretPath, SigningKey& key, std::string& error);

// Writes the image to `path`, streaming: memory does not grow with the
// payload. False with a reason in `error`.
bool WriteFwImage(std::string const& path, FwImageRecipe const& recipe, std::string& error);

// The generated payload's bytes at `offset`: position-dependent, so any lost,
// doubled or moved byte changes the image.
void PayloadBytes(std::string const& version, std::uint64_t offset, unsigned char* out,
                  std::size_t size);

}  // namespace sim
}  // namespace orvo
