#include "host/plugins/connector/hub.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "host/plugins/link/transport.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/scope_guard.h"

namespace host::connector {

namespace {

constexpr size_t kMostWaitingCalls = 64;
constexpr uint32_t kReplyTooLong = 223;

}  // namespace

// What to do with each of the server's messages.
struct Hub::Handler {
  Hub& hub;

  void operator()(RpcMessage& message) const { hub.QueueCall(std::move(message)); }
  void operator()(const StreamOpenMessage& message) const { hub.streams_.Open(message.stream); }
  void operator()(const StreamTextMessage& message) const {
    hub.streams_.Deliver(message.stream, message.text);
  }
  void operator()(const StreamCreditMessage& message) const {
    hub.streams_.AddCredit(message.stream, message.bytes);
  }
  void operator()(const StreamCloseMessage& message) const { hub.streams_.Close(message.stream); }
  void operator()(const PingMessage&) const {
    hub.outbox_->Push(link::kPongText, link::Outbox::Kind::kAnswer);
  }
  void operator()(const PongMessage&) const {}
};

Hub::Hub(const StreamLimits& limits, std::function<bool()> is_enabled)
    : is_enabled_(std::move(is_enabled)), streams_(limits) {
  calls_.Start(L"Connector calls");
  notifier_.Start(L"Connector notifications");
}

Hub::~Hub() {
  CloseIntake();
}

void Hub::Up(std::shared_ptr<link::Outbox> outbox) {
  {
    const Lock lock(mutex_);
    outbox_ = outbox;
    enabled_ = is_enabled_();
    outbox_->Push(HelloMessage(enabled_), link::Outbox::Kind::kAnswer);
  }
  streams_.Attach(std::move(outbox));
  notifier_.Post([this] { Notify(&VeldConnector::ISocketConnection::OnConnect); });
}

void Hub::OnMessage(const std::string& text) {
  std::optional<ServerMessage> message = ReadServerMessage(text);
  if (!message) {
    ORN_LOG(logging::kWarning, L"VeldConnector::Hub::OnMessage",
            L"Malformed message of %d bytes from the server dropped.",
            static_cast<int>(text.size()));
    return;
  }
  std::visit(Handler{*this}, *message);
}

void Hub::Down() {
  {
    const Lock lock(mutex_);
    outbox_.reset();
  }
  calls_.DropQueued();
  streams_.Detach();
  streams_.WaitUntilIdle();
  notifier_.PostAndWait([this] { Notify(&VeldConnector::ISocketConnection::OnDisconnect); });
  streams_.EndToldToUsers();
}

VeldConnector::ISocketManager* Hub::CreateSocketManager(
    VeldConnector::ISocketConnection* observer) {
  if (observer == nullptr) return nullptr;
  const Lock lock(mutex_);
  managers_.push_back(std::make_unique<SocketManager>(*observer, streams_));
  return managers_.back().get();
}

void Hub::DeleteSocketManager(VeldConnector::ISocketManager* manager) {
  std::unique_ptr<SocketManager> deleted;  // Outside the lock: its streams wait for their handlers.
  Lock lock(mutex_);
  const auto entry =
      std::find_if(managers_.begin(), managers_.end(),
                   [manager](const auto& candidate) { return candidate.get() == manager; });
  if (entry == managers_.end()) return;
  deleted = std::move(*entry);
  managers_.erase(entry);
  unused_.Wait(lock, [&] {
    return std::find(in_use_.begin(), in_use_.end(), deleted.get()) == in_use_.end();
  });
  lock.unlock();
}

void Hub::OnSwitchStored() {
  bool turned_off = false;
  {
    const Lock lock(mutex_);
    const bool enabled = is_enabled_();
    turned_off = std::exchange(enabled_, enabled) && !enabled;
    if (outbox_ != nullptr) outbox_->Push(StateMessage(enabled), link::Outbox::Kind::kAnswer);
  }
  if (turned_off) streams_.LeaveEndsToUsers();
}

bool Hub::TrySendEvent(const std::string& name, const Json::Value& payload) {
  const Lock lock(mutex_);
  if (outbox_ == nullptr) return false;
  std::string text = EventMessage(last_event_ + 1, name, payload);
  if (text.size() > link::kLongestMessage) return false;
  if (!outbox_->Push(std::move(text), link::Outbox::Kind::kOptional)) return false;
  ++last_event_;
  return true;
}

void Hub::CloseIntake() {
  calls_.Stop();
  streams_.CloseIntake();
  notifier_.Stop();
}

void Hub::QueueCall(RpcMessage call) {
  const uint64_t id = call.id;
  const bool queued =
      calls_.Post([this, outbox = outbox_, call = std::move(call)] { RunCall(outbox, call); },
                  kMostWaitingCalls);
  if (!queued) {
    outbox_->Push(RpcReplyMessage(id, error::kBusy, /*code=*/0, /*text=*/{}),
                  link::Outbox::Kind::kAnswer);
  }
}

void Hub::RunCall(const std::shared_ptr<link::Outbox>& outbox, const RpcMessage& call) {
  VeldConnector::Rpc::Reply reply;
  streams_.BeginCall(outbox);
  const uint32_t result = Dispatch(call, reply);
  std::string text = RpcReplyMessage(call.id, result, reply.code, reply.text);
  if (text.size() > link::kLongestMessage) {
    text = RpcReplyMessage(call.id, kReplyTooLong, reply.code, /*text=*/{});
  }
  outbox->Push(std::move(text), link::Outbox::Kind::kAnswer);
  streams_.EndCall();
}

uint32_t Hub::Dispatch(const RpcMessage& call, VeldConnector::Rpc::Reply& reply) {
  VeldConnector::Rpc::IController* controller = nullptr;
  const SocketManager* user = nullptr;
  {
    const Lock lock(mutex_);
    for (const auto& manager : managers_) {
      controller = manager->FindController(call.module);
      if (controller == nullptr) continue;
      user = manager.get();
      in_use_.push_back(user);
      break;
    }
  }
  if (controller == nullptr) return error::kForeignModule;
  const orn::ScopeGuard end_use([&] { EndUse(user); });
  const VeldConnector::Rpc::Request request{
      .module = call.module,
      .method = call.method,
      .id = std::to_string(call.id),
      .parameters = call.method == "OpenTerminal" ? WithBoundedSize(call.params) : call.params};
  try {
    return controller->OnRpcMethod(request, reply);
  } catch (const std::exception& exception) {
    ORN_LOG(logging::kError, L"VeldConnector::Hub::Dispatch", L"Call %S of %S failed: %S",
            call.method.c_str(), call.module.c_str(), exception.what());
    return error::kInternal;
  }
}

void Hub::Notify(void (VeldConnector::ISocketConnection::*operation)()) {
  std::vector<SocketManager*> managers;
  {
    const Lock lock(mutex_);
    for (const auto& manager : managers_) {
      managers.push_back(manager.get());
      in_use_.push_back(manager.get());
    }
  }
  for (SocketManager* manager : managers) {
    const orn::ScopeGuard end_use([&] { EndUse(manager); });
    try {
      (manager->observer().*operation)();
    } catch (const std::exception& exception) {
      ORN_LOG(logging::kError, L"VeldConnector::Hub::Notify", L"A notification failed: %S",
              exception.what());
    }
  }
}

void Hub::EndUse(const SocketManager* manager) {
  const Lock lock(mutex_);
  in_use_.erase(std::find(in_use_.begin(), in_use_.end(), manager));
  unused_.NotifyAll();
}

}  // namespace host::connector
