#include "host/messaging/message_codec.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace host::channels {
namespace {

using messaging::message;

// Without its length.
Frame FrameOf(const std::string& bytes) {
  return {static_cast<FrameKind>(bytes[4]), std::string_view(bytes).substr(5)};
}

MessageContent Sample() {
  MessageContent content;
  content.type = 18;
  content.Set("number", message::kInt).number = -7;
  content.Set("text", message::kString).bytes = "Grüße";
  content.Set("block", message::kBinary).bytes = std::string("a\0b", 3);
  content.Set("empty", message::kBinary);
  return content;
}

TEST(MessageCodec, WhatIsWrittenIsReadAndNothingThatIsCutOffOrHasATail) {
  const std::string call = EncodeDelivery(77, "TsrComm.Test", Sample());
  const auto read = DecodeDelivery(FrameOf(call));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->id, 77u);
  EXPECT_EQ(read->channel, "TsrComm.Test");
  EXPECT_EQ(read->content.type, 18);
  EXPECT_EQ(read->content.Find("number", message::kInt)->number, -7);
  EXPECT_EQ(read->content.Find("number", message::kString), nullptr);
  EXPECT_EQ(read->content.Find("block", message::kBinary)->bytes, std::string("a\0b", 3));
  EXPECT_NE(read->content.Find("empty", message::kBinary), nullptr);

  const RemoteEntry entry{{42, 4711},
                          "0123456789abcdef0123456789abcdef",
                          {0, "TsrComm.Test", "id", {{"rpc_subscriber_type", "2"}, {"a", ""}}}};
  const std::string added = EncodeRemoteEntry(FrameKind::kEntryAdded, entry);
  const auto heard = DecodeRemoteEntry(FrameOf(added).payload);
  ASSERT_TRUE(heard);
  EXPECT_EQ(heard->node, entry.node);
  EXPECT_EQ(heard->entry.pid, 42);
  EXPECT_EQ(heard->entry.properties, entry.entry.properties);

  const std::string_view call_bytes = std::string_view(call).substr(5);
  for (size_t i = 0; i < call_bytes.size(); ++i)
    EXPECT_FALSE(DecodeDelivery({FrameKind::kCall, call_bytes.substr(0, i)})) << i;
  EXPECT_FALSE(DecodeDelivery({FrameKind::kCall, std::string(call_bytes) + 'x'}));
  const std::string_view entry_bytes = std::string_view(added).substr(5);
  for (size_t i = 0; i < entry_bytes.size(); ++i)
    EXPECT_FALSE(DecodeRemoteEntry(entry_bytes.substr(0, i))) << i;
}

TEST(MessageCodec, RefusesWhatWouldMeanTwoThingsOrLeadAstray) {
  MessageContent twice = Sample();
  twice.fields.push_back(twice.fields.front());
  EXPECT_FALSE(DecodeDelivery(FrameOf(EncodeDelivery(1, "c", twice))));
  MessageContent cut = Sample();
  cut.Set("text", message::kString).bytes = std::string("a\0b", 3);
  EXPECT_FALSE(DecodeDelivery(FrameOf(EncodeDelivery(1, "c", cut))));
  MessageContent unknown = Sample();
  unknown.fields.front().type = 3;
  EXPECT_FALSE(DecodeDelivery(FrameOf(EncodeDelivery(1, "c", unknown))));
  // The suffix becomes part of a path.
  for (const char* const suffix : {"", "..", "0123456789abcdef0123456789abcde/"})
    EXPECT_FALSE(DecodePresent(FrameOf(EncodePresent(suffix)).payload)) << suffix;
  std::string hello = EncodeHello(1);
  EXPECT_TRUE(DecodeHello(FrameOf(hello).payload));
  hello[9] = 2;  // The version.
  EXPECT_FALSE(DecodeHello(FrameOf(hello).payload));
  // What the far end would refuse is not even written.
  MessageContent large;
  large.Set("b", message::kBinary).bytes.resize(kMessageLimit + 2000);
  EXPECT_TRUE(EncodeDelivery(1, "c", large).empty());
  EXPECT_TRUE(EncodeEntry(FrameKind::kAddEntry, {0, "c", std::string(70'000, 'x'), {}}).empty());
}

TEST(MessageCodec, FramesComeInAnyPiecesAndALengthAloneTakesNoMemory) {
  MessageContent large = Sample();
  large.Set("large", message::kBinary).bytes.assign(5'000'000, 'l');
  const std::string small = EncodeLetGo(5);
  const std::string bytes = small + EncodeDelivery(9, "c", large) + small;
  for (const size_t piece : {size_t{1}, size_t{3}, size_t{65'537}, bytes.size()}) {
    FrameBuffer buffer(kFrameLimit);
    std::vector<FrameKind> kinds;
    Frame frame;
    // By single bytes only around the borders of frames.
    const size_t end = piece == 1 ? 300 : bytes.size();
    for (size_t at = 0; at < end;) {
      size_t room = 0;
      char* const place = buffer.Room(&room);
      const size_t count = std::min({piece, room, end - at});
      std::copy_n(bytes.data() + at, count, place);
      buffer.Commit(count);
      at += count;
      while (buffer.Next(frame) == FrameBuffer::kFrame) {
        kinds.push_back(frame.kind);
        EXPECT_TRUE(frame.kind != FrameKind::kCall || DecodeDelivery(frame));
      }
    }
    EXPECT_EQ(kinds.size(), piece == 1 ? 1u : 3u);
  }
  for (const char* const start : {"\xff\xff\xff\xff", "\0\0\0\0", "\x01\x04\x00\x04"}) {
    FrameBuffer buffer(kFrameLimit);
    size_t room = 0;
    std::copy_n(start, 4, buffer.Room(&room));
    buffer.Commit(4);
    Frame frame;
    EXPECT_EQ(buffer.Next(frame), FrameBuffer::kBad);
  }
  FrameBuffer buffer(kFrameLimit);
  size_t room = 0;
  std::copy_n("\0\0\0\x04", 4, buffer.Room(&room));  // 64 MiB
  buffer.Commit(4);
  Frame frame;
  EXPECT_EQ(buffer.Next(frame), FrameBuffer::kIncomplete);
  buffer.Room(&room);
  EXPECT_LE(room, 2u * 1024 * 1024);
}

}  // namespace
}  // namespace host::channels
