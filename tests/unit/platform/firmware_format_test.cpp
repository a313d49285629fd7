// The firmware header codec: every field's damage is refused by its own
// check, every header byte is covered, and the CRC is the standard one.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "orvo/utils/fw_format.h"

namespace fw = orvo::utils::fw;
using fw::HeaderError;

namespace {

fw::Header sample(bool withSignature = true) {
  fw::Header header;
  header.version = "OV-B4.v4.24.0.68.abc1234.230601.1200";
  header.payloadLength = 1000;
  header.payloadCrc = 0x12345678;
  header.signatureLength = withSignature ? fw::kSignatureBytes : 0;
  return header;
}

std::vector<unsigned char> encoded(fw::Header const& header) {
  std::vector<unsigned char> bytes(fw::kHeaderBytes);
  fw::EncodeHeader(header, bytes.data());
  return bytes;
}

HeaderError parse(std::vector<unsigned char> const& bytes, std::uint64_t fileSize) {
  fw::Header out;
  return fw::ParseHeader(bytes.data(), bytes.size(), fileSize, out);
}

// Changes the bytes at `offset`, then recomputes the checksum: only the
// field's own check can refuse it.
HeaderError parseWithField(std::size_t offset, std::vector<unsigned char> const& value,
                           fw::Header const& header = sample()) {
  std::vector<unsigned char> bytes = encoded(header);
  std::memcpy(bytes.data() + offset, value.data(), value.size());
  fw::SealHeader(bytes.data());
  return parse(bytes, header.imageBytes());
}

HeaderError parseWithVersionField(std::string const& field) {
  std::vector<unsigned char> value(fw::kVersionBytes, 0);
  std::memcpy(value.data(), field.data(), field.size());
  return parseWithField(fw::kVersionOffset, value);
}

TEST(FirmwareHeader, RoundTripsEveryField) {
  fw::Header const header = sample();
  fw::Header out;
  std::vector<unsigned char> bytes = encoded(header);
  ASSERT_EQ(fw::ParseHeader(bytes.data(), bytes.size(), header.imageBytes(), out), HeaderError::kNone);
  EXPECT_EQ(out.formatVersion, fw::kFormatVersion);
  EXPECT_EQ(out.version, header.version);
  EXPECT_EQ(out.payloadLength, 1000u);
  EXPECT_EQ(out.payloadCrc, 0x12345678u);
  EXPECT_EQ(out.signatureLength, fw::kSignatureBytes);
  EXPECT_EQ(out.imageBytes(), fw::kHeaderBytes + 1000 + fw::kSignatureBytes);
  EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 8), std::string("ORVOFW\r\n"));
}

TEST(FirmwareHeader, AnyFlippedBitOfTheHeaderIsRefused) {
  std::vector<unsigned char> const good = encoded(sample());
  for (std::size_t at = 0; at < fw::kHeaderBytes; ++at) {
    for (unsigned char bit : {0x01, 0x10, 0x80}) {
      std::vector<unsigned char> bytes = good;
      bytes[at] ^= bit;
      EXPECT_NE(parse(bytes, sample().imageBytes()), HeaderError::kNone) << "byte " << at;
    }
  }
}

TEST(FirmwareHeader, ShortInputIsRefused) {
  std::vector<unsigned char> bytes = encoded(sample());
  fw::Header out;
  EXPECT_EQ(fw::ParseHeader(bytes.data(), fw::kHeaderBytes - 1, 2000, out), HeaderError::kTooShort);
  EXPECT_EQ(fw::ParseHeader(nullptr, 0, 0, out), HeaderError::kTooShort);
}

TEST(FirmwareHeader, MagicIsCheckedFirst) {
  std::vector<unsigned char> bytes = encoded(sample());
  bytes[6] = '\n';  // a text-mode transfer's damage
  EXPECT_EQ(parse(bytes, sample().imageBytes()), HeaderError::kMagic);
  EXPECT_EQ(parseWithField(0, {'O', 'R', 'V', 'O', 'F', 'X'}), HeaderError::kMagic);
}

TEST(FirmwareHeader, UnknownFormatVersionIsNamedAsSuch) {
  fw::Header newer = sample();
  newer.formatVersion = 2;
  EXPECT_EQ(parse(encoded(newer), newer.imageBytes()), HeaderError::kFormatVersion);
  // Before the checksum: a newer format may place its checksum elsewhere.
  std::vector<unsigned char> bytes = encoded(sample());
  bytes[fw::kFormatVersionOffset] = 0;
  EXPECT_EQ(parse(bytes, sample().imageBytes()), HeaderError::kFormatVersion);
}

TEST(FirmwareHeader, ChangedFieldUnderTheChecksumIsRefused) {
  std::vector<unsigned char> bytes = encoded(sample());
  bytes[fw::kPayloadCrcOffset] ^= 1;
  EXPECT_EQ(parse(bytes, sample().imageBytes()), HeaderError::kHeaderChecksum);
  bytes = encoded(sample());
  bytes[fw::kHeaderCrcOffset + 3] ^= 0x40;
  EXPECT_EQ(parse(bytes, sample().imageBytes()), HeaderError::kHeaderChecksum);
  bytes = encoded(sample());
  bytes[fw::kVersionOffset] = 'X';  // still printable: only the checksum sees it
  EXPECT_EQ(parse(bytes, sample().imageBytes()), HeaderError::kHeaderChecksum);
}

TEST(FirmwareHeader, HeaderLengthMustBeTheFixedOne) {
  EXPECT_EQ(parseWithField(fw::kHeaderLengthOffset, {64, 0}), HeaderError::kHeaderLength);
  EXPECT_EQ(parseWithField(fw::kHeaderLengthOffset, {128, 1}), HeaderError::kHeaderLength);
}

TEST(FirmwareHeader, SignatureLengthIsNoneOrOneSignature) {
  EXPECT_EQ(parseWithField(fw::kSignatureLengthOffset, {32, 0}), HeaderError::kSignatureLength);
  EXPECT_EQ(parseWithField(fw::kSignatureLengthOffset, {64, 1}), HeaderError::kSignatureLength);
  fw::Header unsignedImage = sample(false);
  EXPECT_EQ(parse(encoded(unsignedImage), unsignedImage.imageBytes()), HeaderError::kNone);
}

TEST(FirmwareHeader, FlagsAndReservedBytesMustBeZero) {
  EXPECT_EQ(parseWithField(fw::kFlagsOffset, {0, 1}), HeaderError::kReservedNotZero);
  EXPECT_EQ(parseWithField(fw::kReservedOffset, {1}), HeaderError::kReservedNotZero);
  EXPECT_EQ(parseWithField(fw::kReservedOffset + fw::kReservedBytes - 1, {0x80}),
            HeaderError::kReservedNotZero);
}

TEST(FirmwareHeader, VersionTextRules) {
  EXPECT_EQ(parseWithVersionField("4.24 beta"), HeaderError::kVersionText);
  EXPECT_EQ(parseWithVersionField("4.24\t"), HeaderError::kVersionText);
  EXPECT_EQ(parseWithVersionField("4.24\x7f"), HeaderError::kVersionText);
  EXPECT_EQ(parseWithVersionField("4.24\xc3\xa9"), HeaderError::kVersionText);
  EXPECT_EQ(parseWithVersionField(std::string("4.24\0x", 6)), HeaderError::kVersionText);
  EXPECT_EQ(parseWithVersionField(std::string(fw::kVersionBytes, 'a')), HeaderError::kVersionText);
  EXPECT_EQ(parseWithVersionField(std::string(fw::kVersionBytes - 1, 'a')), HeaderError::kNone);
  // No version at all is a well-formed header; whether it will do is the caller's call.
  EXPECT_EQ(parseWithVersionField(""), HeaderError::kNone);
}

TEST(FirmwareHeader, PayloadLengthIsBounded) {
  fw::Header huge = sample();
  huge.payloadLength = fw::kMaxPayloadBytes + 1;
  EXPECT_EQ(parse(encoded(huge), huge.imageBytes()), HeaderError::kPayloadTooLarge);
  huge.payloadLength = ~0ull;  // would wrap the size sum
  EXPECT_EQ(parse(encoded(huge), 2000), HeaderError::kPayloadTooLarge);
  huge.payloadLength = fw::kMaxPayloadBytes;
  EXPECT_EQ(parse(encoded(huge), huge.imageBytes()), HeaderError::kNone);
}

TEST(FirmwareHeader, LengthsMustMakeUpTheFile) {
  fw::Header const header = sample();
  EXPECT_EQ(parse(encoded(header), header.imageBytes() - 1), HeaderError::kFileSize);
  EXPECT_EQ(parse(encoded(header), header.imageBytes() + 1), HeaderError::kFileSize);
  // A signed header over a file without its signature.
  EXPECT_EQ(parse(encoded(header), fw::kHeaderBytes + header.payloadLength), HeaderError::kFileSize);
}

TEST(FirmwareHeader, EveryErrorHasItsOwnText) {
  std::set<std::string> texts;
  for (int e = 0; e < static_cast<int>(HeaderError::kCount); ++e) {
    texts.insert(fw::HeaderErrorText(static_cast<HeaderError>(e)));
  }
  EXPECT_EQ(texts.size(), static_cast<std::size_t>(HeaderError::kCount));
  EXPECT_STREQ(fw::HeaderErrorText(HeaderError::kCount), "unknown error");
}

TEST(FirmwareCrc, StandardCheckValueAndChunking) {
  EXPECT_EQ(fw::Crc32(0, "123456789", 9), 0xCBF43926u);
  EXPECT_EQ(fw::Crc32(0, "", 0), 0u);
  EXPECT_EQ(fw::Crc32(fw::Crc32(0, "1234", 4), "56789", 5), 0xCBF43926u);
}

}  // namespace
