// Fuzzes the firmware header reader with the input as a whole image file: a
// header it accepts must encode back to the same bytes, and its lengths must
// lie inside the input.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "orvo/utils/fw_format.h"

namespace fw = orvo::utils::fw;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  fw::Header header;
  if (fw::ParseHeader(data, size, size, header) != fw::HeaderError::kNone) return 0;
  unsigned char again[fw::kHeaderBytes];
  fw::EncodeHeader(header, again);
  if (std::memcmp(again, data, fw::kHeaderBytes) != 0) __builtin_trap();
  if (header.imageBytes() != size) __builtin_trap();
  // The payload lies inside the input; its checksum is computable.
  (void)fw::Crc32(0, data + fw::kHeaderBytes, static_cast<std::size_t>(header.payloadLength));
  return 0;
}
