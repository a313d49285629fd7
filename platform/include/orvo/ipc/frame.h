// Framing of the message bus: every message travels on a Unix stream socket
// as one frame, an 8-byte header followed by a compact JSON object.
//
//   bytes 0..3  magic "ORVB"
//   bytes 4..7  payload length, unsigned, big-endian, 1..kMaxFramePayloadBytes
//   bytes 8..   payload: the message as UTF-8 JSON text
//
// The decoder is pure (no I/O) and bounded: it never buffers more than one
// frame plus the bytes of the last feed.
#pragma once

#include <cstddef>
#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace ipc {

constexpr char kFrameMagic[4] = {'O', 'R', 'V', 'B'};
constexpr std::size_t kFrameHeaderBytes = 8;
// Largest JSON text one frame carries; larger messages are refused by the
// sender and a header announcing more makes the receiver drop the stream.
constexpr std::size_t kMaxFramePayloadBytes = 256u * 1024u;

// Builds the frame for `payload`. False (and `frame` untouched) when the
// payload is empty or larger than kMaxFramePayloadBytes.
bool encodeFrame(std::string const& payload, std::string& frame);

// Serialises a message and frames it. False when it does not fit a frame.
bool encodeMessage(orvo::variant::Variant const& message, std::string& frame);

// Parses one payload. Only a JSON object is a message; anything else leaves
// `message` empty and returns false.
bool decodeMessage(std::string const& payload, orvo::variant::Variant& message);

// The numeric "id" of a message, which pairs an answer with its request.
// False when the message has no "id" or it is not a number.
bool messageId(orvo::variant::Variant const& message, unsigned long& id);

class FrameDecoder {
 public:
  enum class Status {
    kNeedMore,   // no complete frame buffered yet
    kFrame,      // `payload` holds the next frame's payload
    kBadMagic,   // the stream is not bus frames; it cannot be resynchronised
    kBadLength,  // a header announced 0 or more than kMaxFramePayloadBytes
  };

  // Adds received bytes. Ignored once the decoder has failed.
  void feed(char const* data, std::size_t size);
  // Takes the next complete frame out of the buffer. After kBadMagic or
  // kBadLength every further call returns the same error.
  Status next(std::string& payload);
  bool failed() const { return error_ != Status::kNeedMore; }
  std::size_t buffered() const { return buffer_.size() - offset_; }

 private:
  void compact();

  std::string buffer_;
  std::size_t offset_ = 0;
  Status error_ = Status::kNeedMore;
};

}  // namespace ipc
}  // namespace orvo
