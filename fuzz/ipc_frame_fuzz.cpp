// The bus frame decoder on arbitrary byte streams, fed in chunks whose sizes
// the input chooses (streaming decoders break at chunk boundaries), and every
// decoded payload through the message parser.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "orvo/ipc/frame.h"

namespace {

constexpr std::size_t kMaxChunkBytes = 64;

void decodeAll(orvo::ipc::FrameDecoder& decoder) {
  using Status = orvo::ipc::FrameDecoder::Status;
  std::string payload;
  Status status;
  while ((status = decoder.next(payload)) == Status::kFrame) {
    if (payload.empty() || payload.size() > orvo::ipc::kMaxFramePayloadBytes) std::abort();
    orvo::variant::Variant message;
    unsigned long id = 0;
    if (orvo::ipc::decodeMessage(payload, message)) orvo::ipc::messageId(message, id);
    // Answers are built from decoded messages: the writer must cope too.
    std::string frame;
    if (!message.IsEmpty()) orvo::ipc::encodeMessage(message, frame);
  }
  // Never more than one unfinished frame plus the last chunk is kept.
  if (decoder.buffered() > orvo::ipc::kFrameHeaderBytes + orvo::ipc::kMaxFramePayloadBytes + kMaxChunkBytes) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size == 0) return 0;
  // The first byte seeds the chunk sizes; the rest is the stream.
  unsigned seed = data[0];
  char const* stream = reinterpret_cast<char const*>(data + 1);
  std::size_t const length = size - 1;
  orvo::ipc::FrameDecoder decoder;
  for (std::size_t offset = 0; offset < length;) {
    seed = seed * 1103515245u + 12345u;
    std::size_t chunk = 1 + (seed >> 16) % kMaxChunkBytes;
    if (chunk > length - offset) chunk = length - offset;
    decoder.feed(stream + offset, chunk);
    offset += chunk;
    decodeAll(decoder);
  }
  return 0;
}
