// The firmware image format (docs/firmware-image.md): a fixed 128-byte
// header, the payload, and an optional Ed25519ph signature over header and
// payload. These functions only encode and decode bytes; reading an image
// file is firmware.h's work.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace orvo {
namespace utils {
namespace fw {

// Layout of the header; every integer is little-endian.
constexpr std::size_t kHeaderBytes = 128;
constexpr std::size_t kMagicOffset = 0;            // 8 bytes, kMagic
constexpr std::size_t kFormatVersionOffset = 8;    // u16
constexpr std::size_t kHeaderLengthOffset = 10;    // u16, kHeaderBytes
constexpr std::size_t kSignatureLengthOffset = 12; // u16, 0 or kSignatureBytes
constexpr std::size_t kFlagsOffset = 14;           // u16, reserved: 0
constexpr std::size_t kPayloadLengthOffset = 16;   // u64
constexpr std::size_t kPayloadCrcOffset = 24;      // u32, CRC-32 of the payload
constexpr std::size_t kVersionOffset = 28;         // kVersionBytes of text, NUL-padded
constexpr std::size_t kVersionBytes = 64;
constexpr std::size_t kReservedOffset = 92;        // 32 bytes of zeros
constexpr std::size_t kReservedBytes = 32;
constexpr std::size_t kHeaderCrcOffset = 124;      // u32, CRC-32 of bytes 0..123

// "\r\n" in the magic shows an image mangled by a text-mode transfer.
constexpr char kMagic[8] = {'O', 'R', 'V', 'O', 'F', 'W', '\r', '\n'};
constexpr std::uint16_t kFormatVersion = 1;
constexpr std::size_t kSignatureBytes = 64;
// No image is larger than an upload may be.
constexpr std::uint64_t kMaxPayloadBytes = 256ull * 1024 * 1024;

struct Header {
  std::uint16_t formatVersion = kFormatVersion;
  std::uint16_t signatureLength = 0;
  std::uint64_t payloadLength = 0;
  std::uint32_t payloadCrc = 0;
  std::string version;  // at most kVersionBytes - 1 printable characters

  bool isSigned() const { return signatureLength != 0; }
  // Header, payload and signature together.
  std::uint64_t imageBytes() const { return kHeaderBytes + payloadLength + signatureLength; }
};

enum class HeaderError {
  kNone = 0,
  kTooShort,         // fewer than kHeaderBytes bytes
  kMagic,
  kFormatVersion,    // a format this reader does not know
  kHeaderChecksum,
  kHeaderLength,
  kSignatureLength,
  kReservedNotZero,  // flags or reserved bytes set
  kVersionText,      // not printable, not terminated, or garbage after the NUL
  kPayloadTooLarge,
  kFileSize,         // header, payload and signature do not make up the file
  kCount
};

char const* HeaderErrorText(HeaderError error);

// Decodes and checks the first kHeaderBytes of `bytes` against an image file
// of `fileSize` bytes. Magic and format version are checked first (a newer
// format may lay out the rest differently), then the header checksum, then
// every field. `out` is filled only on success.
HeaderError ParseHeader(unsigned char const* bytes, std::size_t size, std::uint64_t fileSize,
                        Header& out);

// Writes `header` into kHeaderBytes bytes, header checksum included. The
// fields are written as given, unchecked.
void EncodeHeader(Header const& header, unsigned char* out);
// Recomputes the checksum of a header whose bytes were changed in place.
void SealHeader(unsigned char* header);

// CRC-32 (IEEE 802.3, as zlib and PNG): start with 0, feed chunks in order.
std::uint32_t Crc32(std::uint32_t crc, void const* data, std::size_t size);

}  // namespace fw
}  // namespace utils
}  // namespace orvo
