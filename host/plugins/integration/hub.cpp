#include "host/plugins/integration/hub.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "host/plugins/integration/messages.h"
#include "module/frame/guid.h"
#include "module/frame/json.h"
#include "module/frame/log.h"
#include "module/frame/utf.h"

namespace host::integration {

namespace {

// There has to be room for a name, escaped, and what stands around it.
constexpr size_t kLongestPayload = kLongestMessage - 2048;

// What the server takes, in UTF-16 units.
constexpr size_t kLongestEventName = 256;
constexpr size_t kLongestAgentName = 128;

bool NestsDeeperThan(int levels, const Json::Value& value) {
  if (!value.isArray() && !value.isObject()) return false;
  return levels == 0 ||
         std::any_of(value.begin(), value.end(), [levels](const Json::Value& member) {
           return NestsDeeperThan(levels - 1, member);
         });
}

std::string NewId() {
  return orn::ToUtf8(orn::GenerateGuid().view()).c_str();
}

class StatusSink final : public EnterpriseIntegration::IAgentStatusSink {
 public:
  void OnStatus(const EnterpriseIntegration::AgentStatus& status) override {
    if (status.name.empty() || status.name.length() > kLongestAgentName) return;
    states.push_back({orn::ToUtf8(status.name.view()).c_str(), status.enabled});
  }

  std::vector<AgentState> states;
};

}  // namespace

// What to do with each of the server's messages.
struct Hub::Handler {
  Hub& hub;

  void operator()(const WelcomeMessage& message) const {
    {
      const Lock lock(hub.mutex_);
      hub.welcomed_ = hub.outbox_;
    }
    hub.events_.Welcomed(hub.outbox_, message.acknowledged);
    hub.SendStatus();
  }
  void operator()(PolicyMessage& message) const {
    hub.calls_.Post(std::move(message), hub.outbox_);
  }
  void operator()(const EventAckMessage& message) const {
    hub.events_.Acknowledged(message.number);
  }
  void operator()(const PingMessage&) const {
    hub.outbox_->Push(link::kPongText, link::Outbox::Kind::kAnswer);
  }
  void operator()(const PongMessage&) const {}
};

Hub::Hub(EventStore& store, std::string instance, const SendWindow& window)
    : store_(store), instance_(std::move(instance)), events_(store, window) {
  events_.Start();
  status_.Start(L"Integration status");
}

void Hub::Up(std::shared_ptr<link::Outbox> outbox) {
  outbox_ = std::move(outbox);
  // A store that could not be opened so far may have come to itself. Without one there are no
  // events, and an id that is good for nothing does.
  std::string store = store_.Open() ? store_.id() : std::string();
  if (store.empty()) store = NewId();
  outbox_->Push(HelloMessage(instance_, store), link::Outbox::Kind::kAnswer);
}

void Hub::OnMessage(const std::string& text) {
  std::optional<ServerMessage> message = ReadServerMessage(text);
  if (!message) {
    ORN_LOG(logging::kWarning, L"EndpointIntegration.Manager::Hub::OnMessage",
            L"Malformed message of %d bytes from the server dropped.",
            static_cast<int>(text.size()));
    return;
  }
  std::visit(Handler{*this}, *message);
}

void Hub::Down() {
  {
    const Lock lock(mutex_);
    welcomed_.reset();
  }
  outbox_.reset();
  events_.Disconnected();
  calls_.DropQueued();
}

bool Hub::RegisterAgent(EnterpriseIntegration::IAgent* agent) {
  if (!agents_.Add(agent)) return false;
  SendStatus();
  return true;
}

void Hub::UnregisterAgent(EnterpriseIntegration::IAgent* agent) {
  agents_.Remove(agent);
  SendStatus();
}

bool Hub::SendEvent(const wchar_t* name, const Json::Value& payload) {
  const std::wstring_view wide_name = name == nullptr ? std::wstring_view() : name;
  // An event that the server refuses would come first again in each new connection.
  if (wide_name.empty() || wide_name.size() > kLongestEventName) return false;
  if (NestsDeeperThan(kDeepestMessage - 1, payload)) {
    ORN_LOG(logging::kWarning, L"EndpointIntegration.Manager::SendEvent",
            L"Event %s nests too deeply.", name);
    return false;
  }
  orn::JsonWriter writer;
  writer.OmitEndingLineFeed();
  const std::string text = writer.Write(payload);
  if (text.size() > kLongestPayload) {
    ORN_LOG(logging::kWarning, L"EndpointIntegration.Manager::SendEvent",
            L"Event %s is too long: %llu bytes.", name, uint64_t{text.size()});
    return false;
  }
  if (!store_.Append(orn::ToUtf8(wide_name).view(), text)) return false;
  events_.Wake();
  return true;
}

void Hub::SendStatus() {
  // One that waits will tell of this change too.
  status_.Post([this] { PushStatus(); }, /*limit=*/1);
}

void Hub::PushStatus() {
  std::shared_ptr<link::Outbox> outbox;
  {
    const Lock lock(mutex_);
    outbox = welcomed_;
  }
  if (outbox == nullptr) return;
  StatusSink sink;
  agents_.WithEach([&](EnterpriseIntegration::IAgent& agent) {
    try {
      agent.GetStatus(/*options=*/0, &sink);
    } catch (...) {
      ORN_LOG(logging::kError, L"EndpointIntegration.Manager::Hub::PushStatus",
              L"An agent's status is not to be had: it failed by an exception.");
    }
  });
  outbox->Push(StatusMessage(sink.states), link::Outbox::Kind::kAnswer);
}

void Hub::CloseIntake() {
  calls_.Close();
  status_.Stop();
}

void Hub::Stop() {
  CloseIntake();
  events_.Stop();
}

}  // namespace host::integration
