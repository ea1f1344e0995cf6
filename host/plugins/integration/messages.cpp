#include "host/plugins/integration/messages.h"

#include <utility>

#include "host/plugins/link/json_message.h"
#include "module/frame/json.h"

namespace host::integration {

namespace {

using link::MessageText;
using link::NewMessage;

// Beyond it the server, whose numbers are floating-point ones, cannot count by one.
constexpr uint64_t kLargestNumber = (uint64_t{1} << 53) - 1;

bool ReadNumber(const Json::Value& message, const char* name, uint64_t& number) {
  const Json::Value& member = orn::JsonMember(message, name);
  if (!member.isUInt64()) return false;
  number = member.asUInt64();
  return number <= kLargestNumber;
}

}  // namespace

std::optional<ServerMessage> ReadServerMessage(const std::string& text) {
  Json::Value message;
  if (!orn::JsonReader().Parse(text, message)) return std::nullopt;
  const std::string type = orn::JsonText(orn::JsonMember(message, "type"));
  if (type == "welcome") {
    WelcomeMessage welcome;
    if (!ReadNumber(message, "acknowledged", welcome.acknowledged)) return std::nullopt;
    return welcome;
  }
  if (type == "policy") {
    PolicyMessage policy;
    const Json::Value& method = orn::JsonMember(message, "method");
    if (!ReadNumber(message, "id", policy.id) || policy.id == 0 || !method.isString()) {
      return std::nullopt;
    }
    policy.method = method.asString();
    if (message.isMember("input")) policy.input = std::move(message["input"]);
    return policy;
  }
  if (type == "eventAck") {
    EventAckMessage ack;
    if (!ReadNumber(message, "seq", ack.number)) return std::nullopt;
    return ack;
  }
  if (type == "ping") return PingMessage{};
  if (type == "pong") return PongMessage{};
  return std::nullopt;
}

std::string HelloMessage(const std::string& instance, const std::string& store) {
  Json::Value message = NewMessage("hello");
  message["version"] = 1;
  message["instance"] = instance;
  message["store"] = store;
  return MessageText(message);
}

std::string StatusMessage(const std::vector<AgentState>& agents) {
  Json::Value message = NewMessage("status");
  Json::Value& list = message["agents"] = Json::Value(Json::arrayValue);
  for (const AgentState& agent : agents) {
    Json::Value& entry = list.append(Json::Value(Json::objectValue));
    entry["name"] = agent.name;
    entry["enabled"] = agent.enabled;
  }
  return MessageText(message);
}

std::string PolicyReplyMessage(uint64_t id, int32_t status, const Json::Value& output) {
  Json::Value message = NewMessage("policyReply");
  message["id"] = Json::UInt64{id};
  message["status"] = status;
  message["output"] = output;
  return MessageText(message);
}

std::string EventMessage(const StoredEvent& event) {
  return R"({"type":"event","seq":)" + std::to_string(event.number) + R"(,"name":)" +
         MessageText(event.name) + R"(,"payload":)" + event.payload + "}";
}

}  // namespace host::integration
