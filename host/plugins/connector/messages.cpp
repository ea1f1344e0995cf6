#include "host/plugins/connector/messages.h"

#include <algorithm>
#include <utility>

#include "host/plugins/link/json_message.h"
#include "module/frame/json.h"

namespace host::connector {

namespace {

using link::MessageText;
using link::NewMessage;

constexpr double kSmallestSize = 1;
constexpr double kLargestSize = 1000;

bool ReadText(const Json::Value& message, const char* name, std::string& text) {
  const Json::Value& member = orn::JsonMember(message, name);
  if (!member.isString()) return false;
  text = member.asString();
  return true;
}

bool ReadNumber(const Json::Value& message, const char* name, uint64_t& number) {
  const Json::Value& member = orn::JsonMember(message, name);
  if (!member.isUInt64()) return false;
  number = member.asUInt64();
  return number > 0;
}

bool ReadStream(const Json::Value& message, std::string& stream) {
  return ReadText(message, "stream", stream) && !stream.empty() &&
         stream.size() <= kLongestStreamId;
}

template <class T>
std::optional<ServerMessage> If(bool complete, T& message) {
  if (!complete) return std::nullopt;
  return std::move(message);
}

// False where `size` has no two numbers.
bool Bound(Json::Value& size) {
  for (const char* name : {"cols", "rows"}) {
    const Json::Value& member = orn::JsonMember(size, name);
    if (!member.isNumeric()) return false;
    const double given = member.asDouble();
    const double bounded = std::clamp(given, kSmallestSize, kLargestSize);
    if (bounded != given) size[name] = static_cast<Json::UInt>(bounded);
  }
  return true;
}

}  // namespace

std::optional<ServerMessage> ReadServerMessage(const std::string& text) {
  Json::Value message;
  std::string type;
  if (!orn::JsonReader().Parse(text, message) || !ReadText(message, "type", type)) {
    return std::nullopt;
  }
  if (type == "rpc") {
    RpcMessage rpc;
    const bool complete =
        ReadNumber(message, "id", rpc.id) && ReadText(message, "module", rpc.module) &&
        ReadText(message, "method", rpc.method) && ReadText(message, "params", rpc.params);
    return If(complete, rpc);
  }
  if (type == "streamOpen") {
    StreamOpenMessage open;
    return If(ReadStream(message, open.stream), open);
  }
  if (type == "stream") {
    StreamTextMessage inward;
    const bool complete =
        ReadStream(message, inward.stream) && ReadText(message, "text", inward.text);
    return If(complete, inward);
  }
  if (type == "streamCredit") {
    StreamCreditMessage credit;
    const bool complete =
        ReadStream(message, credit.stream) && ReadNumber(message, "bytes", credit.bytes);
    return If(complete, credit);
  }
  if (type == "streamClose") {
    StreamCloseMessage close;
    return If(ReadStream(message, close.stream), close);
  }
  if (type == "ping") return PingMessage{};
  if (type == "pong") return PongMessage{};
  return std::nullopt;
}

std::string HelloMessage(bool enabled) {
  Json::Value message = NewMessage("hello");
  message["version"] = 1;
  message["enabled"] = enabled;
  return MessageText(message);
}

std::string StateMessage(bool enabled) {
  Json::Value message = NewMessage("state");
  message["enabled"] = enabled;
  return MessageText(message);
}

std::string RpcReplyMessage(uint64_t id, uint32_t result, int32_t code, const std::string& text) {
  Json::Value message = NewMessage("rpcReply");
  message["id"] = Json::UInt64{id};
  message["result"] = result;
  message["code"] = code;
  message["text"] = text;
  return MessageText(message);
}

std::string StreamMessage(const std::string& stream, const std::string& type,
                          const std::string& content) {
  Json::Value message = NewMessage("stream");
  message["stream"] = stream;
  message["message"] = type;
  message["content"] = content;
  return MessageText(message);
}

std::string StreamClosedMessage(const std::string& stream, const char* reason) {
  Json::Value message = NewMessage("streamClosed");
  message["stream"] = stream;
  message["reason"] = reason;
  return MessageText(message);
}

std::string EventMessage(uint64_t number, const std::string& name, const Json::Value& payload) {
  Json::Value message = NewMessage("event");
  message["seq"] = Json::UInt64{number};
  message["name"] = name;
  message["payload"] = payload;
  return MessageText(message);
}

std::optional<InwardText> ReadInwardText(std::string text) {
  Json::Value message;
  if (!orn::JsonReader().Parse(text, message) || !message.isObject()) return std::nullopt;
  const std::string type = orn::JsonText(orn::JsonMember(message, "type"));
  if (type == kResize) {
    if (!Bound(message[kResize])) return std::nullopt;
    text = MessageText(message);
  }
  return InwardText{.text = std::move(text),
                    .ends_stream = type == kStreamStop || type == "streamError"};
}

std::string WithBoundedSize(const std::string& parameters) {
  Json::Value value;
  if (!orn::JsonReader().Parse(parameters, value)) return parameters;
  const Json::Value& size = orn::JsonMember(value, "size");
  if (size.isNull()) return parameters;
  const Json::Value before = size;
  if (!Bound(value["size"])) value.removeMember("size");
  return orn::JsonMember(value, "size") == before ? parameters : MessageText(value);
}

}  // namespace host::connector
