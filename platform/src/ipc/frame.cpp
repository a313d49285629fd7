#include "orvo/ipc/frame.h"

#include <cstdint>
#include <cstring>

namespace orvo {
namespace ipc {

namespace {

// Consumed bytes are dropped from the front once they exceed this, so a long
// stream of small frames does not keep the whole history in memory.
constexpr std::size_t kCompactThreshold = 64u * 1024u;

std::size_t readLength(char const* header) {
  auto const* bytes = reinterpret_cast<unsigned char const*>(header + sizeof kFrameMagic);
  return (std::size_t{bytes[0]} << 24) | (std::size_t{bytes[1]} << 16) |
         (std::size_t{bytes[2]} << 8) | std::size_t{bytes[3]};
}

}  // namespace

bool encodeFrame(std::string const& payload, std::string& frame) {
  if (payload.empty() || payload.size() > kMaxFramePayloadBytes) return false;
  std::size_t const length = payload.size();
  frame.assign(kFrameMagic, sizeof kFrameMagic);
  frame.push_back(static_cast<char>((length >> 24) & 0xff));
  frame.push_back(static_cast<char>((length >> 16) & 0xff));
  frame.push_back(static_cast<char>((length >> 8) & 0xff));
  frame.push_back(static_cast<char>(length & 0xff));
  frame += payload;
  return true;
}

bool encodeMessage(orvo::variant::Variant const& message, std::string& frame) {
  std::string json;
  if (!message.ToJSON(json, false)) return false;
  return encodeFrame(json, frame);
}

bool decodeMessage(std::string const& payload, orvo::variant::Variant& message) {
  message.Free();
  if (!message.FromJSON(payload) || message.Type() != orvo::variant::VT_OBJECT) {
    message.Free();
    return false;
  }
  return true;
}

bool messageId(orvo::variant::Variant const& message, unsigned long& id) {
  constexpr uint32_t kNumberTagBit = 0x4000;  // set in the tag of every number width
  auto const* value = message.GetKeyChain(orvo::variant::VT_ANY, "id", false);
  if (!value || (value->Type() & kNumberTagBit) == 0) return false;
  id = static_cast<unsigned long>(*value);
  return true;
}

void FrameDecoder::feed(char const* data, std::size_t size) {
  if (failed() || size == 0) return;
  compact();
  buffer_.append(data, size);
}

FrameDecoder::Status FrameDecoder::next(std::string& payload) {
  if (failed()) return error_;
  std::size_t const available = buffered();
  char const* start = buffer_.data() + offset_;
  // Check the magic as soon as its bytes arrive, not only with a full header.
  std::size_t const magicBytes = available < sizeof kFrameMagic ? available : sizeof kFrameMagic;
  if (std::memcmp(start, kFrameMagic, magicBytes) != 0) return error_ = Status::kBadMagic;
  if (available < kFrameHeaderBytes) return Status::kNeedMore;
  std::size_t const length = readLength(start);
  if (length == 0 || length > kMaxFramePayloadBytes) return error_ = Status::kBadLength;
  if (available - kFrameHeaderBytes < length) return Status::kNeedMore;
  payload.assign(start + kFrameHeaderBytes, length);
  offset_ += kFrameHeaderBytes + length;
  return Status::kFrame;
}

void FrameDecoder::compact() {
  if (offset_ == buffer_.size()) {
    buffer_.clear();
    offset_ = 0;
  } else if (offset_ > kCompactThreshold) {
    buffer_.erase(0, offset_);
    offset_ = 0;
  }
}

}  // namespace ipc
}  // namespace orvo
