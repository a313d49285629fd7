#include "fw_builder.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "orvo/utils/file.h"
#include "orvo/utils/firmware.h"

namespace orvo {
namespace sim {

namespace fw = orvo::utils::fw;

namespace {

constexpr std::size_t kChunkBytes = 64 * 1024;
constexpr std::size_t kKeyFileLimit = 256;

std::uint64_t mix(std::uint64_t x) {  // splitmix64's finaliser
  x += 0x9e3779b97f4a7c15ull;
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ull;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebull;
  return x ^ (x >> 31);
}

std::uint64_t versionSeed(std::string const& version) {
  std::uint64_t seed = 0;
  for (unsigned char c : version) seed = mix(seed ^ c);
  return seed;
}

bool writeAt(int fd, std::uint64_t offset, void const* data, std::size_t size) {
  auto const* at = static_cast<unsigned char const*>(data);
  while (size > 0) {
    ssize_t n = ::pwrite(fd, at, size, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    at += n;
    offset += static_cast<std::uint64_t>(n);
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

std::uint32_t payloadCrc(FwImageRecipe const& recipe) {
  std::vector<unsigned char> chunk(kChunkBytes);
  std::uint32_t crc = 0;
  for (std::uint64_t done = 0; done < recipe.payloadBytes; done += chunk.size()) {
    std::size_t size = static_cast<std::size_t>(std::min<std::uint64_t>(chunk.size(), recipe.payloadBytes - done));
    PayloadBytes(recipe.version, done, chunk.data(), size);
    crc = fw::Crc32(crc, chunk.data(), size);
  }
  return crc;
}

// Header and payload to `fd`, fed to `prehash` on the way.
bool writeBody(int fd, FwImageRecipe const& recipe, crypto_sign_ed25519ph_state& prehash) {
  fw::Header header;
  header.version = recipe.version;
  header.payloadLength = recipe.payloadBytes;
  header.payloadCrc = payloadCrc(recipe);
  header.signatureLength = recipe.key ? fw::kSignatureBytes : 0;
  unsigned char head[fw::kHeaderBytes];
  fw::EncodeHeader(header, head);
  crypto_sign_ed25519ph_update(&prehash, head, sizeof head);
  if (!writeAt(fd, 0, head, sizeof head)) return false;
  std::vector<unsigned char> chunk(kChunkBytes);
  for (std::uint64_t done = 0; done < recipe.payloadBytes; done += chunk.size()) {
    std::size_t size = static_cast<std::size_t>(std::min<std::uint64_t>(chunk.size(), recipe.payloadBytes - done));
    PayloadBytes(recipe.version, done, chunk.data(), size);
    crypto_sign_ed25519ph_update(&prehash, chunk.data(), size);
    if (!writeAt(fd, fw::kHeaderBytes + done, chunk.data(), size)) return false;
  }
  return true;
}

// Damage that each check is meant to catch: a header field changed under
// its checksum, one payload bit, a signature scalar above the group order
// (a real one never has its top four bits set).
bool corrupt(int fd, FwImageRecipe const& recipe) {
  std::uint64_t at = 0;
  switch (recipe.corruption) {
    case Corruption::kNone: return true;
    case Corruption::kHeader: at = fw::kPayloadCrcOffset; break;
    case Corruption::kPayload: at = fw::kHeaderBytes + recipe.payloadBytes / 2; break;
    case Corruption::kSignature: at = fw::kHeaderBytes + recipe.payloadBytes + fw::kSignatureBytes - 1; break;
  }
  unsigned char byte = 0;
  if (::pread(fd, &byte, 1, static_cast<off_t>(at)) != 1) return false;
  byte = recipe.corruption == Corruption::kSignature ? byte | 0xF0 : byte ^ 0x01;
  return writeAt(fd, at, &byte, 1);
}

char const* recipeProblem(FwImageRecipe const& recipe) {
  if (recipe.version.size() >= fw::kVersionBytes) return "the version is too long";
  for (unsigned char c : recipe.version) {
    if (c < 0x21 || c > 0x7e) return "the version holds a blank or a non-ASCII character";
  }
  if (recipe.payloadBytes > fw::kMaxPayloadBytes) return "the payload is above the format's limit";
  if (recipe.corruption == Corruption::kPayload && recipe.payloadBytes == 0) return "no payload to corrupt";
  if (recipe.corruption == Corruption::kSignature && !recipe.key) return "no signature to corrupt";
  return nullptr;
}

}  // namespace

void PayloadBytes(std::string const& version, std::uint64_t offset, unsigned char* out, std::size_t size) {
  std::uint64_t const seed = versionSeed(version);
  for (std::size_t i = 0; i < size; ++i) {
    std::uint64_t at = offset + i;
    out[i] = static_cast<unsigned char>(mix(seed ^ (at / 8)) >> (8 * (at % 8)));
  }
}

bool KeyFromSeed(unsigned char const* seed, SigningKey& key) {
  return sodium_init() >= 0 && crypto_sign_ed25519_seed_keypair(key.publicKey, key.secret, seed) == 0;
}

bool WriteNewKey(std::string const& secretPath, std::string const& publicPath, std::string& error) {
  unsigned char seed[kSeedBytes];
  SigningKey key;
  if (getrandom(seed, sizeof seed, 0) != static_cast<ssize_t>(sizeof seed) || !KeyFromSeed(seed, key)) {
    error = "no random seed";
    return false;
  }
  int fd = ::open(secretPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
  bool ok = fd >= 0 && orvo::utils::writeAll(fd, fw::ToHex(seed, sizeof seed) + "\n");
  if (fd >= 0) ::close(fd);
  sodium_memzero(seed, sizeof seed);
  if (!ok) {
    error = "cannot write " + secretPath + ": " + std::strerror(errno);
    return false;
  }
  if (!orvo::utils::replaceFileAtomically(publicPath, fw::ToHex(key.publicKey, kPublicKeyBytes) + "\n",
                                          0644, false)) {
    error = "cannot write " + publicPath + ": " + std::strerror(errno);
    return false;
  }
  return true;
}

bool ReadKey(std::string const& secretPath, SigningKey& key, std::string& error) {
  std::string text;
  unsigned char seed[kSeedBytes];
  if (!orvo::utils::readFileBounded(secretPath, kKeyFileLimit, text)) {
    error = "cannot read " + secretPath + ": " + std::strerror(errno);
    return false;
  }
  if (!text.empty() && text.back() == '\n') text.pop_back();
  if (!fw::FromHex(text, seed, sizeof seed) || !KeyFromSeed(seed, key)) {
    error = secretPath + " is not a key file (64 hex digits)";
    return false;
  }
  return true;
}

bool WriteFwImage(std::string const& path, FwImageRecipe const& recipe, std::string& error) {
  if (char const* problem = recipeProblem(recipe)) {
    error = problem;
    return false;
  }
  if (sodium_init() < 0) {
    error = "libsodium failed to start";
    return false;
  }
  int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644);
  if (fd < 0) {
    error = "cannot create " + path + ": " + std::strerror(errno);
    return false;
  }
  crypto_sign_ed25519ph_state prehash;
  crypto_sign_ed25519ph_init(&prehash);
  bool ok = writeBody(fd, recipe, prehash);
  if (ok && recipe.key) {
    unsigned char signature[fw::kSignatureBytes];
    ok = crypto_sign_ed25519ph_final_create(&prehash, signature, nullptr, recipe.key->secret) == 0 &&
         writeAt(fd, fw::kHeaderBytes + recipe.payloadBytes, signature, sizeof signature);
  }
  ok = ok && corrupt(fd, recipe);
  if (!ok) error = "cannot write " + path + ": " + std::strerror(errno);
  ok = (::close(fd) == 0) && ok;
  return ok;
}

}  // namespace sim
}  // namespace orvo
