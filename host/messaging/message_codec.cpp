#include "host/messaging/message_codec.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

namespace host::channels {

namespace {

constexpr uint32_t kMagic = 0x4d525354;  // "TSRM"
constexpr size_t kFieldLimit = 256;
constexpr size_t kPropertyLimit = 256;
constexpr size_t kSuffixLength = 32;
constexpr size_t kSmallestRead = 64 * 1024;
// What a length alone may claim in memory.
constexpr size_t kLargestStart = 1024 * 1024;

// Numbers are little-endian.
class Writer {
 public:
  explicit Writer(FrameKind kind) : bytes_(4, '\0') { Number(static_cast<uint8_t>(kind)); }

  template <class T>
  void Number(T value) {
    auto rest = static_cast<std::make_unsigned_t<T>>(value);
    for (size_t i = 0; i < sizeof(T); ++i) {
      bytes_ += static_cast<char>(rest & 0xff);
      rest = static_cast<decltype(rest)>(static_cast<uint64_t>(rest) >> 8);
    }
  }
  // A text with a length of type `Length` in front. One that is too long spoils the frame.
  template <class Length>
  void Text(std::string_view text) {
    if (text.size() > std::numeric_limits<Length>::max()) good_ = false;
    if (!good_) return;
    Number(static_cast<Length>(text.size()));
    bytes_ += text;
  }
  void Reserve(size_t size) { bytes_.reserve(bytes_.size() + size); }

  // Empty where the frame is spoiled or longer than `limit`.
  std::string Take(size_t limit) {
    if (!good_ || bytes_.size() - 4 > limit) return {};
    auto length = static_cast<uint32_t>(bytes_.size() - 4);
    for (size_t i = 0; i < 4; ++i, length >>= 8)
      bytes_[i] = static_cast<char>(length & 0xff);
    return std::move(bytes_);
  }

 private:
  std::string bytes_;
  bool good_ = true;
};

// After the first failure all fail.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}

  template <class T>
  T Number() {
    if (rest_.size() < sizeof(T)) {
      good_ = false;
      return T{};
    }
    uint64_t value = 0;
    for (size_t i = sizeof(T); i > 0; --i)
      value = value << 8 | static_cast<unsigned char>(rest_[i - 1]);
    rest_.remove_prefix(sizeof(T));
    return static_cast<T>(value);
  }
  template <class Length>
  std::string_view Block() {
    const size_t size = Number<Length>();
    if (!good_ || size > rest_.size()) {
      good_ = false;
      return {};
    }
    const std::string_view block = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return block;
  }
  // A block that is a text: it ends where C would end it.
  template <class Length>
  std::string_view Text() {
    const std::string_view text = Block<Length>();
    if (text.find('\0') != std::string_view::npos) good_ = false;
    return text;
  }
  void Fail() { good_ = false; }
  bool good() const { return good_; }
  bool AtEnd() const { return good_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool good_ = true;
};

void WriteMessage(Writer& writer, const MessageContent& content) {
  size_t size = 0;
  for (const MessageField& field : content.fields)
    size += field.name.size() + field.bytes.size() + 16;
  writer.Reserve(size + 16);
  writer.Number(content.type);
  writer.Number(static_cast<uint16_t>(std::min<size_t>(content.fields.size(), UINT16_MAX)));
  for (const MessageField& field : content.fields) {
    writer.Number(static_cast<uint8_t>(field.type));
    writer.Text<uint16_t>(field.name);
    if (field.type == messaging::message::kInt) {
      writer.Number(field.number);
    } else {
      writer.Text<uint32_t>(field.bytes);
    }
  }
}

void ReadMessage(Reader& reader, MessageContent& content) {
  content.type = reader.Number<int32_t>();
  const size_t count = reader.Number<uint16_t>();
  if (count > kFieldLimit) reader.Fail();
  for (size_t i = 0; i < count && reader.good(); ++i) {
    MessageField field;
    field.type = reader.Number<uint8_t>();
    field.name = reader.Text<uint16_t>();
    switch (field.type) {
      case messaging::message::kInt:
        field.number = reader.Number<int32_t>();
        break;
      case messaging::message::kString:
        field.bytes = reader.Text<uint32_t>();
        break;
      case messaging::message::kBinary:
        field.bytes = reader.Block<uint32_t>();
        break;
      default:
        reader.Fail();
    }
    for (const MessageField& other : content.fields)
      if (other.name == field.name) reader.Fail();
    content.fields.push_back(std::move(field));
  }
}

// The field limit is no more than what the far end would take.
bool IsSendable(const MessageContent& content) {
  return content.fields.size() <= kFieldLimit;
}

void WriteEntry(Writer& writer, const messaging::channel_subscriber& entry) {
  writer.Text<uint16_t>(entry.channel);
  writer.Text<uint16_t>(entry.id);
  writer.Number(static_cast<uint16_t>(std::min<size_t>(entry.properties.size(), UINT16_MAX)));
  for (const auto& [name, value] : entry.properties) {
    writer.Text<uint16_t>(name);
    writer.Text<uint16_t>(value);
  }
}

messaging::channel_subscriber ReadEntry(Reader& reader) {
  messaging::channel_subscriber entry;
  entry.channel = reader.Text<uint16_t>();
  entry.id = reader.Text<uint16_t>();
  if (entry.channel.empty() || entry.channel.size() > kChannelNameLimit) reader.Fail();
  const size_t count = reader.Number<uint16_t>();
  if (count > kPropertyLimit) reader.Fail();
  for (size_t i = 0; i < count && reader.good(); ++i) {
    std::string name(reader.Text<uint16_t>());
    std::string value(reader.Text<uint16_t>());
    if (!entry.properties.emplace(std::move(name), std::move(value)).second) reader.Fail();
  }
  return entry;
}

void WriteNode(Writer& writer, const NodeKey& node) {
  writer.Number(node.pid);
  writer.Number(node.number);
}

NodeKey ReadNode(Reader& reader) {
  NodeKey node;
  node.pid = reader.Number<uint32_t>();
  node.number = reader.Number<uint64_t>();
  return node;
}

std::string ReadSuffix(Reader& reader) {
  const std::string_view suffix = reader.Text<uint16_t>();
  // It becomes part of a path.
  const bool good = suffix.size() == kSuffixLength && std::ranges::all_of(suffix, [](char c) {
                      return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
                    });
  if (!good) reader.Fail();
  return std::string(suffix);
}

template <class T>
std::optional<T> Result(const Reader& reader, T value) {
  return reader.AtEnd() ? std::optional<T>(std::move(value)) : std::nullopt;
}

}  // namespace

std::string EncodeHello(uint64_t number) {
  Writer writer(FrameKind::kHello);
  writer.Number(kMagic);
  writer.Number(kWireVersion);
  writer.Number(number);
  return writer.Take(kHubFrameLimit);
}

std::optional<uint64_t> DecodeHello(std::string_view payload) {
  Reader reader(payload);
  if (reader.Number<uint32_t>() != kMagic) reader.Fail();
  if (reader.Number<uint16_t>() != kWireVersion) reader.Fail();
  const auto number = reader.Number<uint64_t>();
  return Result(reader, number);
}

std::string EncodeDelivery(uint32_t id, std::string_view channel, const MessageContent& content) {
  if (!IsSendable(content) || channel.size() > kChannelNameLimit) return {};
  Writer writer(id != 0 ? FrameKind::kCall : FrameKind::kPost);
  if (id != 0) writer.Number(id);
  writer.Text<uint16_t>(channel);
  WriteMessage(writer, content);
  return writer.Take(kFrameLimit);
}

std::optional<Delivery> DecodeDelivery(const Frame& frame) {
  Reader reader(frame.payload);
  Delivery delivery;
  if (frame.kind == FrameKind::kCall) {
    delivery.id = reader.Number<uint32_t>();
    if (delivery.id == 0) reader.Fail();
  }
  delivery.channel = reader.Text<uint16_t>();
  ReadMessage(reader, delivery.content);
  return Result(reader, std::move(delivery));
}

std::string EncodeAnswer(uint32_t id, const MessageContent& content) {
  if (!IsSendable(content)) return {};
  Writer writer(FrameKind::kAnswer);
  writer.Number(id);
  WriteMessage(writer, content);
  return writer.Take(kFrameLimit);
}

std::optional<Answer> DecodeAnswer(std::string_view payload) {
  Reader reader(payload);
  Answer answer;
  answer.id = reader.Number<uint32_t>();
  ReadMessage(reader, answer.content);
  return Result(reader, std::move(answer));
}

std::string EncodeLetGo(uint32_t id) {
  Writer writer(FrameKind::kLetGo);
  writer.Number(id);
  return writer.Take(kHubFrameLimit);
}

std::optional<uint32_t> DecodeLetGo(std::string_view payload) {
  Reader reader(payload);
  const auto id = reader.Number<uint32_t>();
  return Result(reader, id);
}

std::string EncodePresent(std::string_view pipe_suffix) {
  Writer writer(FrameKind::kPresent);
  writer.Text<uint16_t>(pipe_suffix);
  return writer.Take(kHubFrameLimit);
}

std::string EncodeUsersDoor(std::string_view pipe_suffix) {
  Writer writer(FrameKind::kUsersDoor);
  writer.Text<uint16_t>(pipe_suffix);
  return writer.Take(kHubFrameLimit);
}

std::optional<std::string> DecodePresent(std::string_view payload) {
  Reader reader(payload);
  std::string suffix = ReadSuffix(reader);
  return Result(reader, std::move(suffix));
}

std::string EncodeEntry(FrameKind kind, const messaging::channel_subscriber& entry) {
  Writer writer(kind);
  WriteEntry(writer, entry);
  return writer.Take(kHubFrameLimit - 256);  // The hub adds the node's name.
}

std::optional<messaging::channel_subscriber> DecodeEntry(std::string_view payload) {
  Reader reader(payload);
  messaging::channel_subscriber entry = ReadEntry(reader);
  return Result(reader, std::move(entry));
}

std::string EncodeRemoteEntry(FrameKind kind, const RemoteEntry& entry) {
  Writer writer(kind);
  WriteNode(writer, entry.node);
  writer.Text<uint16_t>(entry.pipe_suffix);
  WriteEntry(writer, entry.entry);
  return writer.Take(kHubFrameLimit);
}

std::optional<RemoteEntry> DecodeRemoteEntry(std::string_view payload) {
  Reader reader(payload);
  RemoteEntry entry;
  entry.node = ReadNode(reader);
  entry.pipe_suffix = ReadSuffix(reader);
  entry.entry = ReadEntry(reader);
  entry.entry.pid = static_cast<int32_t>(entry.node.pid);
  return Result(reader, std::move(entry));
}

std::string EncodeNodeGone(const NodeKey& node) {
  Writer writer(FrameKind::kNodeGone);
  WriteNode(writer, node);
  return writer.Take(kHubFrameLimit);
}

std::optional<NodeKey> DecodeNodeGone(std::string_view payload) {
  Reader reader(payload);
  const NodeKey node = ReadNode(reader);
  return Result(reader, node);
}

char* FrameBuffer::Room(size_t* room) {
  const size_t have = end_ - begin_;
  if (have == 0) {
    begin_ = end_ = 0;
    // What one large message took is not kept for the small ones.
    if (size_ > 4 * kSmallestRead) size_ = 0;
  }
  // The rest of a long frame at once: each read of a pipe has its price.
  const size_t wanted = have < 4 ? kSmallestRead : std::max(Length() + 4, kSmallestRead);
  if (size_ - begin_ < wanted && size_ - end_ < kSmallestRead) {
    Reserve(std::min(wanted, 2 * have + kLargestStart));
  }
  *room = size_ - end_;
  return data_.get() + end_;
}

void FrameBuffer::Reserve(size_t size) {
  const size_t have = end_ - begin_;
  if (size_ < size) {
    auto larger = std::make_unique_for_overwrite<char[]>(size);
    std::copy_n(data_.get() + begin_, have, larger.get());
    data_ = std::move(larger);
    size_ = size;
  } else {
    std::memmove(data_.get(), data_.get() + begin_, have);
  }
  begin_ = 0;
  end_ = have;
}

size_t FrameBuffer::Length() const {
  return Reader(std::string_view(data_.get() + begin_, 4)).Number<uint32_t>();
}

FrameBuffer::Result FrameBuffer::Next(Frame& frame) {
  const size_t have = end_ - begin_;
  if (have < 4) return kIncomplete;
  const size_t length = Length();
  if (length == 0 || length > frame_limit_) return kBad;
  if (have - 4 < length) return kIncomplete;
  const char* const bytes = data_.get() + begin_ + 4;
  frame.kind = static_cast<FrameKind>(static_cast<unsigned char>(bytes[0]));
  frame.payload = std::string_view(bytes + 1, length - 1);
  begin_ += 4 + length;
  return kFrame;
}

}  // namespace host::channels
