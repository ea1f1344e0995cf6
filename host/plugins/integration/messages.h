#pragma once

#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/plugins/integration/event_store.h"

// The messages of the integration connection as docs/protocol.md has them: reading the server's,
// writing the agent's. Pure functions; whatever the server sends, nothing here throws for it.

namespace host::integration {

// The longest message either way, in bytes.
inline constexpr size_t kLongestMessage = 8 * 1024 * 1024;
// How deep arrays and objects may nest in a message, itself included.
inline constexpr int kDeepestMessage = 1000;

struct WelcomeMessage {
  uint64_t acknowledged = 0;
};
struct PolicyMessage {
  uint64_t id = 0;
  std::string method;
  std::optional<Json::Value> input;
};
struct EventAckMessage {
  uint64_t number = 0;
};
struct PingMessage {};
struct PongMessage {};

using ServerMessage =
    std::variant<WelcomeMessage, PolicyMessage, EventAckMessage, PingMessage, PongMessage>;

// Nothing for a text that is no JSON object, has an unknown type, or lacks a member or has it of a
// wrong type.
std::optional<ServerMessage> ReadServerMessage(const std::string& text);

struct AgentState {
  std::string name;
  bool enabled = false;
};

std::string HelloMessage(const std::string& instance, const std::string& store);
std::string StatusMessage(const std::vector<AgentState>& agents);
std::string PolicyReplyMessage(uint64_t id, int32_t status, const Json::Value& output);
// The payload goes out as it stands in the store.
std::string EventMessage(const StoredEvent& event);

}  // namespace host::integration
