#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/messaging/message_codec.h"

namespace {

using namespace host::channels;

// What a frame of that kind says, as a frame again; empty where it is not well formed.
std::string Again(const Frame& frame) {
  switch (frame.kind) {
    case FrameKind::kHello: {
      const auto number = DecodeHello(frame.payload);
      return number ? EncodeHello(*number) : "";
    }
    case FrameKind::kCall:
    case FrameKind::kPost: {
      const auto delivery = DecodeDelivery(frame);
      return delivery ? EncodeDelivery(delivery->id, delivery->channel, delivery->content) : "";
    }
    case FrameKind::kAnswer: {
      const auto answer = DecodeAnswer(frame.payload);
      return answer ? EncodeAnswer(answer->id, answer->content) : "";
    }
    case FrameKind::kLetGo: {
      const auto id = DecodeLetGo(frame.payload);
      return id ? EncodeLetGo(*id) : "";
    }
    case FrameKind::kPresent:
    case FrameKind::kUsersDoor: {
      const auto suffix = DecodePresent(frame.payload);
      if (!suffix) return "";
      return frame.kind == FrameKind::kPresent ? EncodePresent(*suffix) : EncodeUsersDoor(*suffix);
    }
    case FrameKind::kAddEntry:
    case FrameKind::kRemoveEntry: {
      const auto entry = DecodeEntry(frame.payload);
      return entry ? EncodeEntry(frame.kind, *entry) : "";
    }
    case FrameKind::kEntryAdded:
    case FrameKind::kUserEntryAdded:
    case FrameKind::kEntryRemoved: {
      const auto entry = DecodeRemoteEntry(frame.payload);
      return entry ? EncodeRemoteEntry(frame.kind, *entry) : "";
    }
    case FrameKind::kNodeGone: {
      const auto node = DecodeNodeGone(frame.payload);
      return node ? EncodeNodeGone(*node) : "";
    }
  }
  return "";
}

}  // namespace

// The first byte says how much arrives at once, the rest is what comes over a pipe. What is well
// formed has one form; only the order of an entry's properties, and of what is too large to be
// sent, is free.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const size_t portion = data[0] + size_t{1};
  FrameBuffer buffer(kFrameLimit);
  for (size_t at = 1; at < size;) {
    size_t room = 0;
    char* const to = buffer.Room(&room);
    const size_t count = std::min({portion, room, size - at});
    std::memcpy(to, data + at, count);
    buffer.Commit(count);
    at += count;
    Frame frame;
    FrameBuffer::Result result;
    while ((result = buffer.Next(frame)) == FrameBuffer::kFrame) {
      const std::string again = Again(frame);
      if (again.empty()) continue;
      if (again.size() != frame.payload.size() + 5) std::abort();
      const bool is_ordered =
          frame.kind < FrameKind::kAddEntry || frame.kind == FrameKind::kNodeGone;
      if (is_ordered && again.substr(5) != frame.payload) std::abort();
    }
    if (result == FrameBuffer::kBad) return 0;
  }
  return 0;
}
