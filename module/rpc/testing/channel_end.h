#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "module/frame/testing/semaphore.h"
#include "module/rpc/message_ptr.h"
#include "module/rpc/properties.h"
#include "module/rpc/testing/memory_messaging.h"
#include "module/rpc/wire.h"

namespace messaging::testing {

// One end of the channel "TsrComm.Thing" by hand: announces itself, answers as it is told to, and
// keeps what it hears of others. `type` is its rpc_subscriber_type.
class channel_end final : public channel_observer {
 public:
  using handler = std::function<void(message&)>;

  // `on_message` gets what arrives, on the process's thread for messages.
  channel_end(memory_process& process, const char* id, int32_t type, handler on_message = {})
      : process_(process), on_message_(std::move(on_message)) {
    line_->get_receiver()->set_callback(
        [](message* received, void* user) { static_cast<channel_end*>(user)->receive(*received); },
        this, rpc::kReceiverOptions);
    entry_.channel = kName;
    entry_.id = id;
    rpc::write_int_property(entry_, rpc::kSubscriberType, type);
    gateway_->add_subscriber(entry_);
    gateway_->add_observer(this);
  }
  channel_end(const channel_end&) = delete;
  channel_end& operator=(const channel_end&) = delete;
  ~channel_end() {
    gateway_->remove_observer(this);
    process_.destroy(gateway_);
  }

  memory_process& process() { return process_; }
  channel& line() { return *line_; }
  // From the next message on.
  void answer_with(handler on_message) {
    const std::lock_guard lock(mutex_);
    on_message_ = std::move(on_message);
  }
  // Takes back what it has announced; it goes on answering.
  void resign() { gateway_->remove_subscriber(entry_); }

  rpc::message_ptr make(int32_t type = 0) {
    auto made = rpc::message_ptr::adopt(gateway_->get_factory()->create_message(0));
    made->set_type(type);
    return made;
  }
  // The first answer; empty where none came within `timeout` milliseconds.
  rpc::message_ptr ask(const rpc::message_ptr& request, uint32_t timeout = 60000) {
    message* answer = nullptr;
    line_->send(request.get(), &answer, timeout | channel::kMilliseconds);
    return rpc::message_ptr::adopt(answer);
  }

  struct heard {
    char what;  // '+' or '-'
    channel_subscriber entry;
  };
  // Waits for that many entries to come or go.
  std::vector<heard> take(size_t count) {
    for (size_t i = 0; i < count; ++i)
      added_.Acquire();
    const std::lock_guard lock(mutex_);
    const auto end = heard_.begin() + static_cast<std::ptrdiff_t>(count);
    std::vector<heard> taken(heard_.begin(), end);
    heard_.erase(heard_.begin(), end);
    return taken;
  }

  void on_new_subscriber(const std::string&, const channel_subscriber& entry) override {
    add({'+', entry});
  }
  void on_subscriber_removed(const std::string&, const channel_subscriber& entry) override {
    add({'-', entry});
  }

 private:
  static constexpr const char* kName = "TsrComm.Thing";

  void receive(message& received) {
    std::unique_lock lock(mutex_);
    const handler on_message = on_message_;
    lock.unlock();
    if (on_message) on_message(received);
  }
  void add(heard change) {
    const std::lock_guard lock(mutex_);
    heard_.push_back(std::move(change));
    added_.Release();
  }

  memory_process& process_;
  channel_gateway* const gateway_ = process_.create({.channel = kName, .options = 0, .setting = 1});
  channel* const line_ = gateway_->get_factory()->open_channel(kName);
  channel_subscriber entry_;
  Semaphore added_;
  std::mutex mutex_;
  // Guarded by mutex_.
  handler on_message_;
  std::vector<heard> heard_;
};

}  // namespace messaging::testing
