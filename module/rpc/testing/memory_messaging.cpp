#include "module/rpc/testing/memory_messaging.h"

#include <algorithm>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/rpc/properties.h"
#include "module/rpc/wire.h"

namespace messaging::testing {

// A gateway with its only channel and that channel's only receiver.
class memory_gateway final : public channel_gateway,
                             public channel_factory,
                             public channel,
                             public receiver {
 public:
  memory_gateway(memory_process& process, std::string name)
      : process_(process), bus_(process.bus_), name_(std::move(name)) {}
  ~memory_gateway() = default;

  void add_observer(channel_observer* observer) override {
    const std::lock_guard lock(bus_.mutex_);
    if (is_closed_) return;
    observers_.push_back(observer);
    for (const auto& known : bus_.entries_) {
      if (known.entry.channel != name_ || !memory_bus::can_see(process_, *known.process)) {
        continue;
      }
      process_.announcements_.post([this, observer, entry = known.entry] {
        call(observer, memory_bus::change::kAdded, entry);
      });
    }
  }

  void remove_observer(channel_observer* observer) override {
    {
      const std::lock_guard lock(bus_.mutex_);
      std::erase(observers_, observer);
    }
    const std::lock_guard wait_for_call(observing_);
  }

  void add_subscriber(const channel_subscriber& entry) override {
    const std::lock_guard lock(bus_.mutex_);
    if (is_closed_ || process_.is_dead_) return;
    bus_.entries_.push_back({&process_, this, entry});
    bus_.entries_.back().entry.pid = process_.pid_;
    bus_.tell_all(bus_.entries_.back(), memory_bus::change::kAdded);
  }

  void remove_subscriber(const channel_subscriber& entry) override {
    remove_entries([&](const channel_subscriber& announced) {
      return announced.channel == entry.channel && announced.id == entry.id;
    });
  }

  channel_factory* get_factory() override { return this; }
  message* create_message(int32_t) override { return memory_message::make(); }
  channel* open_channel(const char*) override { return this; }
  receiver* get_receiver() override { return this; }

  uint32_t post(message* sent) override { return deliver(sent, nullptr); }

  uint32_t send(message* sent, message** answer, uint32_t timeout) override {
    *answer = nullptr;
    const auto pending = std::make_shared<pending_request>(&process_);
    if (const uint32_t status = deliver(sent, pending); status != 0) return status;
    rpc::message_ptr first = pending->wait(timeout & ~kMilliseconds);
    if (first) first->add_ref();
    *answer = first.get();
    return 0;
  }

  void set_callback(callback function, void* user, uint32_t) override {
    const std::lock_guard lock(receiving_);
    callback_ = function;
    user_ = user;
  }

  void close_receiver(receiver*) override {
    set_callback(/*function=*/nullptr, /*user=*/nullptr, /*options=*/0);
  }

  void close() {
    remove_entries([](const channel_subscriber&) { return true; });
    {
      const std::lock_guard lock(bus_.mutex_);
      is_closed_ = true;
      observers_.clear();
    }
    const std::lock_guard wait_for_call(observing_);
    close_receiver(this);
  }

  // On the process's threads.
  void receive(message* received) {
    const std::lock_guard lock(receiving_);
    if (callback_ != nullptr) callback_(received, user_);
  }

  void call(channel_observer* observer, memory_bus::change what, const channel_subscriber& entry) {
    const std::lock_guard lock(observing_);
    if (!observes(observer)) return;
    if (what == memory_bus::change::kAdded) {
      observer->on_new_subscriber(name_, entry);
    } else {
      observer->on_subscriber_removed(name_, entry);
    }
  }

 private:
  friend class memory_bus;

  bool observes(const channel_observer* observer) {
    const std::lock_guard lock(bus_.mutex_);
    return std::find(observers_.begin(), observers_.end(), observer) != observers_.end();
  }

  template <class Predicate>
  void remove_entries(Predicate is_meant) {
    const std::lock_guard lock(bus_.mutex_);
    for (auto at = bus_.entries_.begin(); at != bus_.entries_.end();) {
      if (at->gateway != this || !is_meant(at->entry)) {
        ++at;
        continue;
      }
      const memory_bus::announced removed = *at;
      at = bus_.entries_.erase(at);
      bus_.tell_all(removed, memory_bus::change::kRemoved);
    }
  }

  uint32_t deliver(const message* sent, const std::shared_ptr<pending_request>& pending) {
    const std::lock_guard lock(bus_.mutex_);
    if (is_closed_ || process_.is_dead_) return error::kNotConnected;
    std::erase_if(bus_.pending_, [](const auto& other) { return other.expired(); });
    if (pending) bus_.pending_.push_back(pending);
    for (memory_gateway* const to : bus_.route(*this, *sent)) {
      if (pending) pending->expect(&to->process_);
      const bool is_own = &to->process_ == &process_;
      const auto sender_pid = is_own ? 0 : static_cast<uint32_t>(process_.pid_);
      to->process_.messages_.post(
          [to, received = rpc::message_ptr::adopt(memory_message::make_received(
                   *sent, &to->process_, sender_pid, pending))] { to->receive(received.get()); });
    }
    return 0;
  }

  memory_process& process_;
  memory_bus& bus_;
  const std::string name_;
  // Guarded by the bus's mutex.
  bool is_closed_ = false;
  std::vector<channel_observer*> observers_;

  // Each held during the calls that it is named for, so that who takes a callback out can wait.
  std::mutex observing_;
  std::mutex receiving_;
  callback callback_ = nullptr;  // Guarded by receiving_, as is the next.
  void* user_ = nullptr;
};

channel_gateway* memory_process::create(const gateway_settings& settings) {
  const std::lock_guard lock(bus_.mutex_);
  return bus_.gateways_.emplace_back(std::make_unique<memory_gateway>(*this, settings.channel))
      .get();
}

void memory_process::destroy(channel_gateway* gateway) {
  static_cast<memory_gateway*>(gateway)->close();
}

void memory_process::disconnect() {
  const std::lock_guard lock(bus_.mutex_);
  bus_.set_connected(*this, false);
}

void memory_process::reconnect() {
  const std::lock_guard lock(bus_.mutex_);
  if (!is_dead_) bus_.set_connected(*this, true);
}

void memory_process::kill() {
  const std::lock_guard lock(bus_.mutex_);
  bus_.set_connected(*this, false);
  is_dead_ = true;
  std::erase_if(bus_.entries_, [this](const auto& entry) { return entry.process == this; });
}

memory_bus::memory_bus() = default;

memory_bus::~memory_bus() {
  for (const auto& process : processes_) {
    process->messages_.stop();
    process->announcements_.stop();
  }
}

memory_process& memory_bus::start(int32_t pid) {
  const std::lock_guard lock(mutex_);
  return *processes_.emplace_back(std::make_unique<memory_process>(*this, pid));
}

bool memory_bus::can_see(const memory_process& one, const memory_process& other) {
  return &one == &other || (one.is_connected_ && other.is_connected_);
}

void memory_bus::tell(memory_gateway& gateway, change what, const channel_subscriber& entry) {
  for (channel_observer* const observer : gateway.observers_) {
    gateway.process_.announcements_.post(
        [&gateway, observer, what, entry] { gateway.call(observer, what, entry); });
  }
}

void memory_bus::tell_all(const announced& changed, change what) {
  for (const auto& gateway : gateways_) {
    if (gateway->name_ == changed.entry.channel && can_see(gateway->process_, *changed.process)) {
      tell(*gateway, what, changed.entry);
    }
  }
}

void memory_bus::set_connected(memory_process& process, bool connected) {
  if (process.is_connected_ == connected) return;
  process.is_connected_ = connected;
  const change what = connected ? change::kAdded : change::kRemoved;
  for (const auto& gateway : gateways_) {
    for (const auto& known : entries_) {
      const bool is_affected = (&gateway->process_ == &process) != (known.process == &process);
      const memory_process& other = known.process == &process ? gateway->process_ : *known.process;
      if (is_affected && other.is_connected_ && gateway->name_ == known.entry.channel) {
        tell(*gateway, what, known.entry);
      }
    }
  }
  if (connected) return;
  for (const auto& pending : pending_) {
    if (const auto request = pending.lock()) request->cut_off(&process);
  }
}

bool memory_bus::has_server(const memory_process& process, const std::string& channel) const {
  return std::any_of(entries_.begin(), entries_.end(), [&](const announced& known) {
    return known.process == &process && known.entry.channel == channel &&
           rpc::int_property(known.entry, rpc::kSubscriberType) == rpc::kServer;
  });
}

std::vector<memory_gateway*> memory_bus::route(const memory_gateway& from,
                                               const message& sent) const {
  const int32_t type = sent.get_type();
  const bool is_request = type == rpc::kOneWayCall || type == rpc::kMethodCall;
  const bool is_event = type == rpc::kOneWayEvent || type == rpc::kAnsweredEvent;
  std::vector<memory_gateway*> targets;
  if (is_event && !has_server(from.process_, from.name_)) return targets;
  for (const auto& gateway : gateways_) {
    const memory_process& process = gateway->process_;
    const bool is_meant = is_request ? has_server(process, from.name_)
                          : is_event ? process.pid_ == sent.get_int(rpc::kSubscriberPid)
                                     : true;
    if (gateway.get() != &from && !gateway->is_closed_ && gateway->name_ == from.name_ &&
        is_meant && can_see(from.process_, process)) {
      targets.push_back(gateway.get());
    }
  }
  return targets;
}

}  // namespace messaging::testing
