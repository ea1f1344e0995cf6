#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/messaging/message_content.h"
#include "module/platform/messaging.h"

// What goes over the pipes, as bytes; docs/protocol.md has the table. Needs nothing of Windows.
// Reading trusts nothing: each length is checked against what is there, and what is left over at
// the end is a fault like what is missing.
namespace host::channels {

inline constexpr uint16_t kWireVersion = 1;
inline constexpr size_t kMessageLimit = 64 * 1024 * 1024;  // Bytes of one encoded message.
inline constexpr size_t kFrameLimit = kMessageLimit + 1024;
// Of a frame from or to the hub.
inline constexpr size_t kHubFrameLimit = 64 * 1024;
inline constexpr size_t kChannelNameLimit = 256;

enum class FrameKind : uint8_t {
  // Between any two: the first frame of who connects.
  kHello = 1,
  // Between processes. Calls and posts go one way only, what answers them the other.
  kCall = 2,
  kPost = 3,
  kAnswer = 4,
  kLetGo = 5,
  // To the hub.
  kPresent = 16,
  kAddEntry = 17,
  kRemoveEntry = 18,
  kUsersDoor = 19,
  // From the hub.
  kEntryAdded = 32,
  kEntryRemoved = 33,
  kNodeGone = 34,
  kUserEntryAdded = 35,
};

struct Frame {
  FrameKind kind = FrameKind::kHello;
  std::string_view payload;
};

// One library in one process. The process id is what the operating system says, the number is the
// library's own and tells apart what had the same id at different times.
struct NodeKey {
  uint32_t pid = 0;
  uint64_t number = 0;
  auto operator<=>(const NodeKey&) const = default;
};

// A call or a post; a post has the id 0. `channel` points into the frame.
struct Delivery {
  uint32_t id = 0;
  std::string_view channel;
  MessageContent content;
};

struct Answer {
  uint32_t id = 0;
  MessageContent content;
};

// An entry as the hub tells of it.
struct RemoteEntry {
  NodeKey node;
  std::string pipe_suffix;
  messaging::channel_subscriber entry;
};

// Each gives a whole frame, its length in front.
std::string EncodeHello(uint64_t number);
// A call, or with the id 0 a post. Empty where the message is too large.
std::string EncodeDelivery(uint32_t id, std::string_view channel, const MessageContent& content);
std::string EncodeAnswer(uint32_t id, const MessageContent& content);
std::string EncodeLetGo(uint32_t id);
std::string EncodePresent(std::string_view pipe_suffix);
std::string EncodeUsersDoor(std::string_view pipe_suffix);
// kAddEntry or kRemoveEntry. Empty where the entry is too large.
std::string EncodeEntry(FrameKind kind, const messaging::channel_subscriber& entry);
// kEntryAdded, kUserEntryAdded or kEntryRemoved.
std::string EncodeRemoteEntry(FrameKind kind, const RemoteEntry& entry);
std::string EncodeNodeGone(const NodeKey& node);

// What a frame says, or nothing for one that is not well formed.
std::optional<uint64_t> DecodeHello(std::string_view payload);  // Nothing for another version too.
std::optional<Delivery> DecodeDelivery(const Frame& frame);
std::optional<Answer> DecodeAnswer(std::string_view payload);
std::optional<uint32_t> DecodeLetGo(std::string_view payload);
// Of kUsersDoor too.
std::optional<std::string> DecodePresent(std::string_view payload);
std::optional<messaging::channel_subscriber> DecodeEntry(std::string_view payload);
std::optional<RemoteEntry> DecodeRemoteEntry(std::string_view payload);
std::optional<NodeKey> DecodeNodeGone(std::string_view payload);

// Takes bytes as they come and gives them back as frames:
//
//   size_t room = 0;
//   char* const place = buffer.Room(&room);
//   buffer.Commit(ReadUpTo(place, room));
//   while (buffer.Next(frame) == FrameBuffer::kFrame) Handle(frame);
//
// Memory grows with what has come, not with what a length announces.
class FrameBuffer {
 public:
  enum Result { kFrame, kIncomplete, kBad };

  explicit FrameBuffer(size_t frame_limit) : frame_limit_(frame_limit) {}

  // Where the next bytes belong. Invalidates the last frame.
  char* Room(size_t* size);
  void Commit(size_t count) { end_ += count; }
  // The frame is valid until Room.
  Result Next(Frame& frame);

 private:
  // Of the frame at begin_; four bytes are there.
  size_t Length() const;
  // Makes room for `size` bytes behind begin_.
  void Reserve(size_t size);

  const size_t frame_limit_;
  std::unique_ptr<char[]> data_;
  size_t size_ = 0;
  size_t begin_ = 0;
  size_t end_ = 0;
};

}  // namespace host::channels
