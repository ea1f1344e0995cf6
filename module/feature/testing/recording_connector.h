#pragma once

#include <atomic>
#include <map>

#include "module/feature/testing/call_list.h"
#include "module/platform/veld_connector.h"

namespace orn::RemoteAccess {

// Keeps what is sent, as "type content", and can refuse one "data" and one message of another type.
struct RecordingStream final : VeldConnector::Stream::IConnection {
  CallList sent;
  std::atomic<uint32_t> data_refusal{0}, other_refusal{0};
  std::mutex delivery;
  IMessageHandler* handler = nullptr;

  void SetMessageHandler(IMessageHandler* value) override { handler = value; }
  uint32_t Send(const std::pair<std::string, std::string>& message, int32_t) override {
    sent.Add(message.first + ' ' + message.second);
    return (message.first == "data" ? data_refusal : other_refusal).exchange(0);
  }
  // As the stream's thread does.
  void Deliver(const std::string& text) {
    const std::lock_guard lock(delivery);
    if (handler != nullptr) handler->OnMessage(text);
  }
};

// A connector and its one socket manager, which makes a stream for every id but "none".
struct RecordingConnector final : VeldConnector::IConnector, VeldConnector::ISocketManager {
  explicit RecordingConnector(CallList& list) : calls(list) {}

  CallList& calls;
  bool refuses_manager = false;
  uint32_t register_result = 0;
  std::map<std::string, RecordingStream> streams;

  ISocketManager* CreateSocketManager(VeldConnector::ISocketConnection*) override {
    calls.Add("create socket manager");
    return refuses_manager ? nullptr : this;
  }
  void DeleteSocketManager(ISocketManager*) override { calls.Add("delete socket manager"); }
  uint32_t RegisterController(VeldConnector::Rpc::IController*) override {
    return calls.Add("register controller", register_result);
  }
  VeldConnector::Stream::IConnection* GetStream(const std::string& id) override {
    return id == "none" ? nullptr : &streams[id];
  }
  void DestroyStream(VeldConnector::Stream::IConnection* stream) override {
    auto& destroyed = *static_cast<RecordingStream*>(stream);
    const std::lock_guard no_delivery(destroyed.delivery);
    destroyed.handler = nullptr;
    calls.Add("destroy stream");
  }
};

}  // namespace orn::RemoteAccess
