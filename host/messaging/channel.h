#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "host/common/sync.h"
#include "host/messaging/message.h"
#include "module/platform/messaging.h"

namespace host::channels {

class Gateway;

// A channel as one gateway has it, with its receiving end.
class Channel final : public messaging::channel, public messaging::receiver {
 public:
  // The gateway must outlive it.
  Channel(Gateway& gateway, std::string name) : gateway_(gateway), name_(std::move(name)) {}
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  uint32_t post(messaging::message* sent) override;
  uint32_t send(messaging::message* sent, messaging::message** answer, uint32_t timeout) override;
  messaging::receiver* get_receiver() override { return this; }
  void close_receiver(messaging::receiver* closed) override;
  void set_callback(callback function, void* user, uint32_t options) override;

  // Calls the callback, if there is one.
  void Receive(Message* message);

 private:
  Gateway& gateway_;
  const std::string name_;

  // Without kernel objects, as channels are never freed.
  Mutex mutex_;
  Condition idle_;
  // Guarded by mutex_.
  callback function_ = nullptr;
  void* user_ = nullptr;
  uint32_t running_ = 0;  // Callbacks.
};

}  // namespace host::channels
