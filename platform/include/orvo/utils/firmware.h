// Checks of a firmware image file (format: fw_format.h). Every check reads
// the file in chunks of kChunkBytes, so a large image is checked in constant
// memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "orvo/utils/file_handle.h"
#include "orvo/utils/fw_format.h"

namespace orvo {
namespace utils {

// The maker's public key, as hex text, on the camera.
constexpr char kFwSigningKeyPath[] = "/etc/orvo/fw-signing.pub";
constexpr std::size_t kFwPublicKeyBytes = 32;
constexpr std::size_t kChunkBytes = 64 * 1024;

// The header alone: magic, format version, checksum, fields, and lengths
// that add up to the file's size.
bool ValidateFwHdr(File& file);
// The header, the payload's CRC-32, and a signature (when there is one) that
// is well-formed: a canonical scalar and a curve point of the right group.
bool ValidateFw(File& file);
// The version text of an image whose header is valid, else "".
std::string ExtractFwVersion(File& file);
// A valid image that is not the maker's: unsigned, or signed by a key other
// than the one at kFwSigningKeyPath (or no readable maker key at all).
bool IsThirdPartyFw(File& file);

// What IsThirdPartyFw checks, with the key given: true when the image is
// valid, signed, and its signature verifies against `publicKey`.
bool IsSignedBy(File& file, unsigned char const publicKey[kFwPublicKeyBytes]);
// Reads a public key file (64 hex digits, optionally a line end).
bool ReadFwPublicKey(std::string const& path, unsigned char publicKey[kFwPublicKeyBytes]);

namespace fw {
// The header of `file`, checked as ValidateFwHdr does.
HeaderError ReadHeader(File& file, Header& header);
// Hex text of bytes and back; FromHex is false on any other length or digit.
std::string ToHex(unsigned char const* bytes, std::size_t size);
bool FromHex(std::string const& text, unsigned char* out, std::size_t size);
}  // namespace fw

}  // namespace utils
}  // namespace orvo
