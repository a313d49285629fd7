// The frame codec and the bus names, without any process or socket.
#include <gtest/gtest.h>

#include <unistd.h>

#include <string>
#include <vector>

#include "messages/daemons.h"
#include "bus_test_support.h"
#include "orvo/ipc/bus.h"
#include "orvo/ipc/frame.h"

using orvo::ipc::FrameDecoder;
using orvo::ipc::kMaxFramePayloadBytes;
using orvo::variant::Variant;
using Status = FrameDecoder::Status;

namespace {

std::string frameOf(std::string const& payload) {
  std::string frame;
  EXPECT_TRUE(orvo::ipc::encodeFrame(payload, frame));
  return frame;
}

std::string header(unsigned length) {
  std::string bytes("ORVB", 4);
  for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<char>(length >> shift));
  return bytes;
}

}  // namespace

TEST(Frame, HeaderIsMagicAndBigEndianLength) {
  std::string const frame = frameOf("{\"a\":1}");
  EXPECT_EQ(frame, header(7) + "{\"a\":1}");
}

TEST(Frame, EncodeRefusesEmptyAndOversizedPayloads) {
  std::string frame = "untouched";
  EXPECT_FALSE(orvo::ipc::encodeFrame("", frame));
  EXPECT_FALSE(orvo::ipc::encodeFrame(std::string(kMaxFramePayloadBytes + 1, 'x'), frame));
  EXPECT_EQ(frame, "untouched");
  EXPECT_TRUE(orvo::ipc::encodeFrame(std::string(kMaxFramePayloadBytes, 'x'), frame));
  EXPECT_EQ(frame.size(), kMaxFramePayloadBytes + orvo::ipc::kFrameHeaderBytes);
}

TEST(Frame, DecodesFramesFedOneByteAtATime) {
  std::string const stream = frameOf("{\"a\":1}") + frameOf("[2]");
  FrameDecoder decoder;
  std::vector<std::string> payloads;
  std::string payload;
  for (char byte : stream) {
    decoder.feed(&byte, 1);
    while (decoder.next(payload) == Status::kFrame) payloads.push_back(payload);
  }
  ASSERT_EQ(payloads.size(), 2u);
  EXPECT_EQ(payloads[0], "{\"a\":1}");
  EXPECT_EQ(payloads[1], "[2]");
  EXPECT_EQ(decoder.buffered(), 0u);
  EXPECT_FALSE(decoder.failed());
}

TEST(Frame, IncompleteFrameNeedsMore) {
  FrameDecoder decoder;
  std::string const frame = frameOf("{\"a\":1}");
  decoder.feed(frame.data(), frame.size() - 1);
  std::string payload;
  EXPECT_EQ(decoder.next(payload), Status::kNeedMore);
  decoder.feed(frame.data() + frame.size() - 1, 1);
  EXPECT_EQ(decoder.next(payload), Status::kFrame);
}

TEST(Frame, WrongMagicFailsOnItsFirstByte) {
  FrameDecoder decoder;
  decoder.feed("X", 1);
  std::string payload;
  EXPECT_EQ(decoder.next(payload), Status::kBadMagic);
  // Failure is final: later good frames are ignored.
  std::string const good = frameOf("{}");
  decoder.feed(good.data(), good.size());
  EXPECT_EQ(decoder.next(payload), Status::kBadMagic);
  EXPECT_TRUE(decoder.failed());
}

TEST(Frame, ZeroAndOversizedLengthsFail) {
  std::string payload;
  FrameDecoder zero;
  std::string const empty = header(0);
  zero.feed(empty.data(), empty.size());
  EXPECT_EQ(zero.next(payload), Status::kBadLength);

  FrameDecoder oversized;
  std::string const big = header(kMaxFramePayloadBytes + 1);
  oversized.feed(big.data(), big.size());
  EXPECT_EQ(oversized.next(payload), Status::kBadLength);
  EXPECT_LE(oversized.buffered(), orvo::ipc::kFrameHeaderBytes);
}

TEST(Frame, OnlyJsonObjectsAreMessages) {
  Variant message;
  EXPECT_TRUE(orvo::ipc::decodeMessage("{\"id\":5}", message));
  EXPECT_EQ(static_cast<unsigned long>(message["id"]), 5ul);
  EXPECT_FALSE(orvo::ipc::decodeMessage("[1,2]", message));
  EXPECT_TRUE(message.IsEmpty());
  EXPECT_FALSE(orvo::ipc::decodeMessage("{\"id\":", message));
  EXPECT_FALSE(orvo::ipc::decodeMessage("\"text\"", message));
}

TEST(Frame, MessageIdMustBeANumber) {
  Variant message;
  unsigned long id = 0;
  ASSERT_TRUE(orvo::ipc::decodeMessage("{\"id\":\"7\"}", message));
  EXPECT_FALSE(orvo::ipc::messageId(message, id));
  ASSERT_TRUE(orvo::ipc::decodeMessage("{\"x\":1}", message));
  EXPECT_FALSE(orvo::ipc::messageId(message, id));
  ASSERT_TRUE(orvo::ipc::decodeMessage("{\"id\":18446744073709551615}", message));
  EXPECT_TRUE(orvo::ipc::messageId(message, id));
  EXPECT_EQ(id, 18446744073709551615ul);
}

TEST(Frame, MessageRoundTripsThroughEncoder) {
  Variant message;
  message["id"] = 42ul;
  message["text"] = "hello";
  std::string frame;
  ASSERT_TRUE(orvo::ipc::encodeMessage(message, frame));
  FrameDecoder decoder;
  decoder.feed(frame.data(), frame.size());
  std::string payload;
  ASSERT_EQ(decoder.next(payload), Status::kFrame);
  Variant decoded;
  ASSERT_TRUE(orvo::ipc::decodeMessage(payload, decoded));
  EXPECT_EQ(static_cast<unsigned long>(decoded["id"]), 42ul);
  EXPECT_EQ(static_cast<std::string const&>(decoded["text"]), "hello");
  EXPECT_EQ(decoded.KeysCount(), 2u);
}

TEST(BusNames, SuffixIsTheProcessId) {
  std::string const expected = "rest_status." + std::to_string(getpid());
  EXPECT_EQ(orvo::ipc::appendSuffix("rest_status"), expected);
  EXPECT_EQ(orvo::ipc::appendSuffix(std::string("rest_status")), expected);
}

TEST(BusNames, NamesAreSafeFileNames) {
  EXPECT_TRUE(orvo::ipc::isValidEndpointName(orvo::daemons::kNetworkd));
  EXPECT_TRUE(orvo::ipc::isValidEndpointName("rest_settings_get.1234"));
  EXPECT_FALSE(orvo::ipc::isValidEndpointName(""));
  EXPECT_FALSE(orvo::ipc::isValidEndpointName(".."));
  EXPECT_FALSE(orvo::ipc::isValidEndpointName(".hidden"));
  EXPECT_FALSE(orvo::ipc::isValidEndpointName("a/b"));
  EXPECT_FALSE(orvo::ipc::isValidEndpointName("a b"));
  EXPECT_FALSE(orvo::ipc::isValidEndpointName(std::string(orvo::ipc::kMaxEndpointNameBytes + 1, 'a')));
}

TEST(BusNames, SocketFilesLiveInTheBusFolderUnderTheCameraRoot) {
  std::string const root = bustest::cameraRoot();
  EXPECT_EQ(orvo::ipc::busFolder(), root + "/run/orvo");
  EXPECT_EQ(orvo::ipc::socketPathFor(orvo::daemons::kOsd), root + "/run/orvo/orvo_osd.sock");
  EXPECT_EQ(orvo::ipc::socketPathFor("../etc"), "");
}
