#pragma once

#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

// The messages between agent and server as docs/protocol.md has them: reading the server's, writing
// the agent's. Pure functions; whatever the server sends, nothing here throws for it.

namespace host::connector {

inline constexpr size_t kLongestStreamId = 256;

struct RpcMessage {
  uint64_t id = 0;
  std::string module;
  std::string method;
  std::string params;
};
struct StreamOpenMessage {
  std::string stream;
};
struct StreamTextMessage {
  std::string stream;
  std::string text;
};
struct StreamCreditMessage {
  std::string stream;
  uint64_t bytes = 0;
};
struct StreamCloseMessage {
  std::string stream;
};
struct PingMessage {};
struct PongMessage {};

using ServerMessage =
    std::variant<RpcMessage, StreamOpenMessage, StreamTextMessage, StreamCreditMessage,
                 StreamCloseMessage, PingMessage, PongMessage>;

// Nothing for a text that is no JSON object, has an unknown type, or lacks a member or has it of a
// wrong type.
std::optional<ServerMessage> ReadServerMessage(const std::string& text);

std::string HelloMessage(bool enabled);
std::string StateMessage(bool enabled);
std::string RpcReplyMessage(uint64_t id, uint32_t result, int32_t code, const std::string& text);
std::string StreamMessage(const std::string& stream, const std::string& type,
                          const std::string& content);
// `reason` is "destroyed", "lost", "hostLost" or "unused".
std::string StreamClosedMessage(const std::string& stream, const char* reason);
std::string EventMessage(uint64_t number, const std::string& name, const Json::Value& payload);

// One message of the server's to a stream, made safe for the console behind it.
struct InwardText {
  std::string text;
  bool ends_stream = false;  // "streamStop" or "streamError"
};

inline constexpr char kStreamStop[] = "streamStop";
inline constexpr char kResize[] = "resize";
inline constexpr char kStreamErrorText[] = R"({"type":"streamError"})";

// A "resize" gets both sizes brought into 1..1000, since the console library stops the process over
// a size of 0 or a huge one. Nothing where `text` is no JSON object, or a "resize" without two
// numbers.
std::optional<InwardText> ReadInwardText(std::string text);

// The same for the "size" in the parameters of "OpenTerminal": numbers are brought into the range,
// a size of other things is left out, which gives the default size. Anything else stays as it is,
// to the byte.
std::string WithBoundedSize(const std::string& parameters);

}  // namespace host::connector
