#include "orvo/utils/firmware.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "orvo/utils/file.h"
#include "orvo/utils/paths.h"

namespace orvo {
namespace utils {

namespace {

// The order of the Ed25519 group, little-endian: a signature's scalar half
// must be below it.
constexpr unsigned char kGroupOrder[32] = {
    0xed, 0xd3, 0xf5, 0x5c, 0x1a, 0x63, 0x12, 0x58, 0xd6, 0x9c, 0xf7, 0xa2, 0xde, 0xf9, 0xde, 0x14,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10};
constexpr std::size_t kKeyFileLimit = 256;

bool scalarIsCanonical(unsigned char const* scalar) {
  for (std::size_t i = 32; i > 0; --i) {
    if (scalar[i - 1] != kGroupOrder[i - 1]) return scalar[i - 1] < kGroupOrder[i - 1];
  }
  return false;  // equal to the order
}

bool signatureWellFormed(unsigned char const* signature) {
  return scalarIsCanonical(signature + 32) && crypto_core_ed25519_is_valid_point(signature) == 1;
}

// One pass over a valid image: the payload's CRC-32 is checked, header and
// payload are fed to `prehash` when given, and the signature (if any) is
// read into `signature` and checked for form.
bool scanImage(File& file, fw::Header& header, crypto_sign_ed25519ph_state* prehash,
               unsigned char* signature) {
  unsigned char head[fw::kHeaderBytes];
  if (fw::ReadHeader(file, header) != fw::HeaderError::kNone) return false;
  if (!file.ReadAt(0, head, sizeof head)) return false;
  if (prehash) crypto_sign_ed25519ph_update(prehash, head, sizeof head);
  std::vector<unsigned char> chunk(kChunkBytes);
  std::uint32_t crc = 0;
  for (std::uint64_t done = 0; done < header.payloadLength;) {
    std::size_t size = static_cast<std::size_t>(
        std::min<std::uint64_t>(chunk.size(), header.payloadLength - done));
    if (!file.ReadAt(fw::kHeaderBytes + done, chunk.data(), size)) return false;
    crc = fw::Crc32(crc, chunk.data(), size);
    if (prehash) crypto_sign_ed25519ph_update(prehash, chunk.data(), size);
    done += size;
  }
  if (crc != header.payloadCrc) return false;
  if (!header.isSigned()) return true;
  return file.ReadAt(fw::kHeaderBytes + header.payloadLength, signature, fw::kSignatureBytes) &&
         signatureWellFormed(signature);
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

namespace fw {

HeaderError ReadHeader(File& file, Header& header) {
  int64_t const size = file.Size();
  if (!file.IsOpen() || size < static_cast<int64_t>(kHeaderBytes)) return HeaderError::kTooShort;
  unsigned char bytes[kHeaderBytes];
  if (!file.ReadAt(0, bytes, sizeof bytes)) return HeaderError::kTooShort;
  return ParseHeader(bytes, sizeof bytes, static_cast<std::uint64_t>(size), header);
}

std::string ToHex(unsigned char const* bytes, std::size_t size) {
  static char const kDigits[] = "0123456789abcdef";
  std::string out;
  for (std::size_t i = 0; i < size; ++i) {
    out += kDigits[bytes[i] >> 4];
    out += kDigits[bytes[i] & 0xF];
  }
  return out;
}

bool FromHex(std::string const& text, unsigned char* out, std::size_t size) {
  if (text.size() != 2 * size) return false;
  for (std::size_t i = 0; i < size; ++i) {
    int high = hexDigit(text[2 * i]);
    int low = hexDigit(text[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    out[i] = static_cast<unsigned char>(high * 16 + low);
  }
  return true;
}

}  // namespace fw

bool ValidateFwHdr(File& file) {
  fw::Header header;
  return fw::ReadHeader(file, header) == fw::HeaderError::kNone;
}

bool ValidateFw(File& file) {
  fw::Header header;
  unsigned char signature[fw::kSignatureBytes];
  return scanImage(file, header, nullptr, signature);
}

std::string ExtractFwVersion(File& file) {
  fw::Header header;
  return fw::ReadHeader(file, header) == fw::HeaderError::kNone ? header.version : std::string();
}

namespace {

enum class Origin { kInvalid, kSignedByKey, kOther };

// Validity and signer in one pass over the image.
Origin originOf(File& file, unsigned char const* publicKey) {
  // No sodium_init(): it picks implementations for the library's dispatched
  // primitives and seeds its random generator, none of which the Ed25519
  // check uses, and linking it would bring all of them into the program.
  crypto_sign_ed25519ph_state prehash;
  crypto_sign_ed25519ph_init(&prehash);
  fw::Header header;
  unsigned char signature[fw::kSignatureBytes];
  if (!scanImage(file, header, &prehash, signature)) return Origin::kInvalid;
  bool const verified = header.isSigned() &&
                        crypto_sign_ed25519ph_final_verify(&prehash, signature, publicKey) == 0;
  return verified ? Origin::kSignedByKey : Origin::kOther;
}

}  // namespace

bool IsSignedBy(File& file, unsigned char const publicKey[kFwPublicKeyBytes]) {
  return originOf(file, publicKey) == Origin::kSignedByKey;
}

bool ReadFwPublicKey(std::string const& path, unsigned char publicKey[kFwPublicKeyBytes]) {
  std::string text;
  if (!readFileBounded(path, kKeyFileLimit, text)) return false;
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return fw::FromHex(text, publicKey, kFwPublicKeyBytes);
}

bool IsThirdPartyFw(File& file) {
  unsigned char makerKey[kFwPublicKeyBytes];
  if (!ReadFwPublicKey(devicePath(kFwSigningKeyPath), makerKey)) return ValidateFw(file);
  return originOf(file, makerKey) == Origin::kOther;
}

}  // namespace utils
}  // namespace orvo
