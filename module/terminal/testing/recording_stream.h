#pragma once

#include <gtest/gtest.h>

#include <atomic>
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
  uint32_t Send(const std::pair<std::string, std::string>& message, int32_t argument) override {
    EXPECT_EQ(argument, 10);
    sent.Add(message.first + ' ' + message.second);
    return message.first == refused_type_ ? refusal_.exchange(0) : 0;
  }
  // The next message of that type gets that answer.
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

}  // namespace orn::RemoteAccess
