#include "orvo/utils/fw_format.h"

#include <array>
#include <cstring>

namespace orvo {
namespace utils {
namespace fw {

namespace {

std::array<std::uint32_t, 256> makeCrcTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t n = 0; n < 256; ++n) {
    std::uint32_t c = n;
    for (int bit = 0; bit < 8; ++bit) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table[n] = c;
  }
  return table;
}

std::uint64_t readLe(unsigned char const* at, std::size_t bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = bytes; i > 0; --i) value = (value << 8) | at[i - 1];
  return value;
}

void writeLe(unsigned char* at, std::uint64_t value, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) at[i] = static_cast<unsigned char>(value >> (8 * i));
}

bool allZero(unsigned char const* at, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) {
    if (at[i] != 0) return false;
  }
  return true;
}

// Printable ASCII without blanks, then NUL up to the field's end; at least
// one NUL, so the text is never cut.
bool readVersion(unsigned char const* field, std::string& out) {
  std::size_t length = 0;
  while (length < kVersionBytes && field[length] != 0) {
    if (field[length] < 0x21 || field[length] > 0x7e) return false;
    ++length;
  }
  if (length == kVersionBytes || !allZero(field + length, kVersionBytes - length)) return false;
  out.assign(reinterpret_cast<char const*>(field), length);
  return true;
}

std::uint32_t headerCrc(unsigned char const* header) { return Crc32(0, header, kHeaderCrcOffset); }

HeaderError checkFields(unsigned char const* bytes, std::uint64_t fileSize, Header& header) {
  if (readLe(bytes + kHeaderLengthOffset, 2) != kHeaderBytes) return HeaderError::kHeaderLength;
  header.signatureLength = static_cast<std::uint16_t>(readLe(bytes + kSignatureLengthOffset, 2));
  if (header.signatureLength != 0 && header.signatureLength != kSignatureBytes) {
    return HeaderError::kSignatureLength;
  }
  if (!allZero(bytes + kFlagsOffset, 2) || !allZero(bytes + kReservedOffset, kReservedBytes)) {
    return HeaderError::kReservedNotZero;
  }
  if (!readVersion(bytes + kVersionOffset, header.version)) return HeaderError::kVersionText;
  header.payloadLength = readLe(bytes + kPayloadLengthOffset, 8);
  if (header.payloadLength > kMaxPayloadBytes) return HeaderError::kPayloadTooLarge;
  header.payloadCrc = static_cast<std::uint32_t>(readLe(bytes + kPayloadCrcOffset, 4));
  // Bounded above, so the sum cannot overflow.
  if (header.imageBytes() != fileSize) return HeaderError::kFileSize;
  return HeaderError::kNone;
}

}  // namespace

char const* HeaderErrorText(HeaderError error) {
  static char const* const kTexts[] = {
      "valid header",
      "shorter than a header",
      "not a firmware image (magic)",
      "unknown image format version",
      "header checksum mismatch",
      "wrong header length",
      "wrong signature length",
      "reserved bytes not zero",
      "version text malformed",
      "payload length above the limit",
      "file size does not match the header",
  };
  static_assert(sizeof kTexts / sizeof kTexts[0] == static_cast<std::size_t>(HeaderError::kCount),
                "one text per error");
  auto index = static_cast<std::size_t>(error);
  return index < static_cast<std::size_t>(HeaderError::kCount) ? kTexts[index] : "unknown error";
}

std::uint32_t Crc32(std::uint32_t crc, void const* data, std::size_t size) {
  static std::array<std::uint32_t, 256> const kTable = makeCrcTable();
  auto const* bytes = static_cast<unsigned char const*>(data);
  crc = ~crc;
  for (std::size_t i = 0; i < size; ++i) crc = kTable[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
  return ~crc;
}

HeaderError ParseHeader(unsigned char const* bytes, std::size_t size, std::uint64_t fileSize,
                        Header& out) {
  if (bytes == nullptr || size < kHeaderBytes) return HeaderError::kTooShort;
  if (std::memcmp(bytes + kMagicOffset, kMagic, sizeof kMagic) != 0) return HeaderError::kMagic;
  Header header;
  header.formatVersion = static_cast<std::uint16_t>(readLe(bytes + kFormatVersionOffset, 2));
  if (header.formatVersion != kFormatVersion) return HeaderError::kFormatVersion;
  if (readLe(bytes + kHeaderCrcOffset, 4) != headerCrc(bytes)) return HeaderError::kHeaderChecksum;
  HeaderError error = checkFields(bytes, fileSize, header);
  if (error == HeaderError::kNone) out = header;
  return error;
}

void EncodeHeader(Header const& header, unsigned char* out) {
  std::memset(out, 0, kHeaderBytes);
  std::memcpy(out + kMagicOffset, kMagic, sizeof kMagic);
  writeLe(out + kFormatVersionOffset, header.formatVersion, 2);
  writeLe(out + kHeaderLengthOffset, kHeaderBytes, 2);
  writeLe(out + kSignatureLengthOffset, header.signatureLength, 2);
  writeLe(out + kPayloadLengthOffset, header.payloadLength, 8);
  writeLe(out + kPayloadCrcOffset, header.payloadCrc, 4);
  std::memcpy(out + kVersionOffset, header.version.data(),
              header.version.size() < kVersionBytes ? header.version.size() : kVersionBytes);
  SealHeader(out);
}

void SealHeader(unsigned char* header) { writeLe(header + kHeaderCrcOffset, headerCrc(header), 4); }

}  // namespace fw
}  // namespace utils
}  // namespace orvo
