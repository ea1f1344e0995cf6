#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/messaging/message.h"
#include "host/plugins/common/task_thread.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/messaging.h"
#include "module/rpc/message_ptr.h"
#include "module/rpc/properties.h"
#include "module/rpc/wire.h"

namespace messaging::testing {

using host::channels::Message;
using host::channels::MessageContent;

// The messaging library over memory: several processes in one, each with a process id of its own.
//
//   memory_bus bus;
//   memory_process& agent = bus.start(100);
//   channel_gateway* gateway = agent.create({.channel = "TsrComm.Test"});
//
// Requests reach processes that have announced a server on the channel, events the process that
// they name, and only from a process with a server; all other messages reach nobody. One thread
// calls the receivers and another the observers. The bus outlives all that uses its processes.
class memory_bus {
 public:
  memory_bus() {
    messages_.Start(L"memory messages");
    announcements_.Start(L"memory announcements");
  }

  // Any thread may call it.
  struct process final : IOrnBaseInterface, channel_gateway_factory {
    process(memory_bus& of, int32_t id) : bus(of), pid(id) {}

    void* GetInterface(const InterfaceId& id) override {
      const bool is_known = id == channel_gateway_factory::kInterfaceId;
      return is_known ? static_cast<channel_gateway_factory*>(this) : nullptr;
    }
    channel_gateway* create(const gateway_settings& settings) override {
      const std::lock_guard lock(bus.mutex_);
      return bus.gateways_.emplace_back(std::make_unique<gateway>(*this, settings.channel)).get();
    }
    void destroy(channel_gateway* destroyed) override {
      auto* const closed = static_cast<gateway*>(destroyed);
      closed->remove_entries(/*id=*/nullptr);
      closed->close_receiver(closed);
    }

    memory_bus& bus;
    const int32_t pid;
  };

  process& start(int32_t pid) {
    return *processes_.emplace_back(std::make_unique<process>(*this, pid));
  }

 private:
  // Nothing once nobody is left who could give an answer.
  struct awaited_answer final : host::channels::ReplyTarget {
    std::promise<std::shared_ptr<MessageContent>> content;
    bool is_given = false;

    ~awaited_answer() override {
      if (!is_given) content.set_value(nullptr);
    }
    void Reply(const MessageContent& answer) override {
      is_given = true;
      content.set_value(std::make_shared<MessageContent>(answer));
    }
  };

  struct gateway;
  struct announced {
    gateway* from;
    channel_subscriber entry;
  };

  // A gateway with its only channel, that channel's only receiver and one observer.
  struct gateway final : channel_gateway, channel_factory, channel, receiver {
    gateway(process& of, std::string channel_name)
        : owner(of), bus(of.bus), name(std::move(channel_name)) {}

    void add_observer(channel_observer* added) override {
      const std::lock_guard lock(bus.mutex_);
      observer = added;
      for (const announced& known : bus.entries_)
        tell(known, /*is_added=*/true);
    }
    void remove_observer(channel_observer*) override {
      observer = nullptr;
      const std::lock_guard wait_for_call(observing);
    }
    void add_subscriber(const channel_subscriber& entry) override {
      const std::lock_guard lock(bus.mutex_);
      bus.entries_.push_back({this, entry});
      bus.entries_.back().entry.pid = owner.pid;
      for (const auto& each : bus.gateways_)
        each->tell(bus.entries_.back(), /*is_added=*/true);
    }
    void remove_subscriber(const channel_subscriber& entry) override { remove_entries(&entry.id); }
    // Of the given id, or all with null.
    void remove_entries(const std::string* id) {
      const std::lock_guard lock(bus.mutex_);
      std::erase_if(bus.entries_, [&](const announced& known) {
        const bool goes = known.from == this && (id == nullptr || known.entry.id == *id);
        for (const auto& each : bus.gateways_)
          if (goes) each->tell(known, /*is_added=*/false);
        return goes;
      });
    }

    channel_factory* get_factory() override { return this; }
    message* create_message(int32_t) override { return new Message; }
    channel* open_channel(const char*) override { return this; }
    receiver* get_receiver() override { return this; }

    uint32_t post(message* sent) override { return deliver(*sent, /*target=*/nullptr); }
    uint32_t send(message* sent, message** answer, uint32_t timeout) override {
      auto target = std::make_shared<awaited_answer>();
      auto awaited = target->content.get_future();
      deliver(*sent, target);
      target.reset();
      const std::chrono::milliseconds limit(timeout & ~kMilliseconds);
      const bool is_over = awaited.wait_for(limit) == std::future_status::ready;
      const auto content = is_over ? awaited.get() : nullptr;
      *answer = content ? new Message(content, /*sender=*/0, /*target=*/nullptr) : nullptr;
      return 0;
    }
    void set_callback(callback function, void* of, uint32_t) override {
      const std::lock_guard lock(receiving);
      called = function;
      user = of;
    }
    void receive(message* received) {
      const std::lock_guard lock(receiving);
      if (called != nullptr) called(received, user);
    }
    void close_receiver(receiver*) override {
      set_callback(/*function=*/nullptr, /*of=*/nullptr, /*options=*/0);
    }

    // With the bus's mutex held, as the next two.
    void tell(const announced& known, bool is_added) {
      channel_observer* const told = observer;
      if (told == nullptr || known.from->name != name) return;
      bus.announcements_.Post([this, told, entry = known.entry, is_added] {
        const std::lock_guard lock(observing);
        if (observer != told) return;
        const auto change = is_added ? &channel_observer::on_new_subscriber
                                     : &channel_observer::on_subscriber_removed;
        (told->*change)(name, entry);
      });
    }
    bool has_server() const {
      return std::ranges::any_of(bus.entries_, [&](const announced& known) {
        return &known.from->owner == &owner && known.from->name == name &&
               rpc::int_property(known.entry, rpc::kSubscriberType) == rpc::kServer;
      });
    }
    bool reaches(const gateway& to, const message& sent) const {
      if (&to == this || to.name != name) return false;
      const int32_t type = sent.get_type();
      if (type == rpc::kOneWayCall || type == rpc::kMethodCall) return to.has_server();
      return (type == rpc::kOneWayEvent || type == rpc::kAnsweredEvent) && has_server() &&
             to.owner.pid == sent.get_int(rpc::kSubscriberPid);
    }
    uint32_t deliver(const message& sent, const std::shared_ptr<awaited_answer>& target) const {
      const std::lock_guard lock(bus.mutex_);
      for (const auto& to : bus.gateways_) {
        if (!reaches(*to, sent)) continue;
        const bool is_own = &to->owner == &owner;
        auto received = rpc::message_ptr::adopt(
            new Message(static_cast<const Message&>(sent).content(),
                        is_own ? 0 : static_cast<uint32_t>(owner.pid), target));
        bus.messages_.Post(
            [to = to.get(), received = std::move(received)] { to->receive(received.get()); });
      }
      return 0;
    }

    process& owner;
    memory_bus& bus;
    const std::string name;
    std::atomic<channel_observer*> observer{nullptr};
    // Each held during the calls that it is named for, so that who takes a callback out can wait.
    std::mutex observing;
    std::mutex receiving;
    callback called = nullptr;  // Guarded by receiving, as is the next.
    void* user = nullptr;
  };

  std::mutex mutex_;
  std::vector<std::unique_ptr<process>> processes_;
  // Guarded by mutex_. Gateways stay to the end, since their channels stay callable.
  std::vector<std::unique_ptr<gateway>> gateways_;
  std::vector<announced> entries_;
  // The last to come and the first to go.
  host::TaskThread messages_;
  host::TaskThread announcements_;
};

using memory_process = memory_bus::process;

}  // namespace messaging::testing
