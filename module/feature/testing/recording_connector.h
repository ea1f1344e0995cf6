#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "module/feature/testing/call_list.h"
#include "module/platform/veld_connector.h"

namespace orn::RemoteAccess {

// Keeps what is sent, as "type content", and can refuse one message of a type.
class RecordingStream final : public VeldConnector::Stream::IConnection {
 public:
  CallList sent;

  void SetMessageHandler(IMessageHandler* handler) override { handler_ = handler; }
  uint32_t Send(const std::pair<std::string, std::string>& message, int32_t) override {
    sent.Add(message.first + ' ' + message.second);
    return message.first == refused_type_ ? refusal_.exchange(0) : 0;
  }
  void Refuse(const std::string& type, uint32_t code) {
    refused_type_ = type;
    refusal_ = code;
  }
  // As the stream's thread does.
  void Deliver(const std::string& text) {
    const std::lock_guard lock(delivery_mutex_);
    if (handler_ != nullptr) handler_->OnMessage(text);
  }
  // Waits for a running delivery; there is none after it.
  void Close() {
    const std::lock_guard lock(delivery_mutex_);
    handler_ = nullptr;
  }

 private:
  std::mutex delivery_mutex_;
  IMessageHandler* handler_ = nullptr;
  std::string refused_type_;
  std::atomic<uint32_t> refusal_{0};
};

// A connector and its one socket manager, which makes a stream for every id but "none".
class RecordingConnector final : public VeldConnector::IConnector,
                                 public VeldConnector::ISocketManager {
 public:
  explicit RecordingConnector(CallList& calls) : calls_(calls) {}

  bool refuses_manager = false;
  uint32_t register_result = 0;
  std::map<std::string, RecordingStream> streams;

  ISocketManager* CreateSocketManager(VeldConnector::ISocketConnection*) override {
    calls_.Add("create socket manager");
    return refuses_manager ? nullptr : this;
  }
  void DeleteSocketManager(ISocketManager*) override { calls_.Add("delete socket manager"); }
  uint32_t RegisterController(VeldConnector::Rpc::IController*) override {
    calls_.Add("register controller");
    return register_result;
  }
  VeldConnector::Stream::IConnection* GetStream(const std::string& id) override {
    return id == "none" ? nullptr : &streams[id];
  }
  void DestroyStream(VeldConnector::Stream::IConnection* stream) override {
    static_cast<RecordingStream*>(stream)->Close();
    calls_.Add("destroy stream");
  }

 private:
  CallList& calls_;
};

}  // namespace orn::RemoteAccess
