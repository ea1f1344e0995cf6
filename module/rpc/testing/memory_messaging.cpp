#include "module/rpc/testing/memory_messaging.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <utility>

#include "module/rpc/message_ptr.h"
#include "module/rpc/properties.h"
#include "module/rpc/wire.h"

namespace messaging::testing {

using host::channels::Message;
using host::channels::MessageContent;
using host::channels::ReplyTarget;

namespace {

// The first answer, or none once nobody is left who could give one.
class awaited_answer final : public ReplyTarget {
 public:
  ~awaited_answer() override {
    if (!is_given_) answer_.set_value(std::nullopt);
  }
  void Reply(const MessageContent& answer) override {
    if (!is_given_.exchange(true)) answer_.set_value(answer);
  }
  std::future<std::optional<MessageContent>> get_future() { return answer_.get_future(); }

 private:
  std::atomic<bool> is_given_{false};
  std::promise<std::optional<MessageContent>> answer_;
};

}  // namespace

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
    observers_.push_back(observer);
    for (const auto& known : bus_.entries_) {
      if (known.entry.channel == name_) tell(observer, known.entry, /*is_added=*/true);
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
    bus_.entries_.push_back({this, entry});
    bus_.entries_.back().entry.pid = process_.pid_;
    bus_.tell_all(bus_.entries_.back().entry, /*is_added=*/true);
  }

  void remove_subscriber(const channel_subscriber& entry) override { remove_entries(&entry.id); }

  channel_factory* get_factory() override { return this; }
  message* create_message(int32_t) override { return new Message; }
  channel* open_channel(const char*) override { return this; }
  receiver* get_receiver() override { return this; }

  uint32_t post(message* sent) override {
    const std::lock_guard lock(bus_.mutex_);
    bus_.deliver(*this, *sent, /*target=*/nullptr);
    return 0;
  }

  uint32_t send(message* sent, message** answer, uint32_t timeout) override {
    auto target = std::make_shared<awaited_answer>();
    auto awaited = target->get_future();
    {
      const std::lock_guard lock(bus_.mutex_);
      bus_.deliver(*this, *sent, target);
    }
    target.reset();
    *answer = nullptr;
    const std::chrono::milliseconds limit(timeout & ~kMilliseconds);
    if (awaited.wait_for(limit) == std::future_status::timeout) return 0;
    if (auto content = awaited.get()) {
      *answer = new Message(std::make_shared<MessageContent>(*std::move(content)), 0, nullptr);
    }
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

  // Of the given id, or all with null.
  void remove_entries(const std::string* id) {
    const std::lock_guard lock(bus_.mutex_);
    std::erase_if(bus_.entries_, [&](const memory_bus::announced& known) {
      const bool goes = known.gateway == this && (id == nullptr || known.entry.id == *id);
      if (goes) bus_.tell_all(known.entry, /*is_added=*/false);
      return goes;
    });
  }

 private:
  friend class memory_bus;

  // With the bus's mutex held.
  void tell(channel_observer* observer, const channel_subscriber& entry, bool is_added) {
    process_.announcements_.Post([this, observer, entry, is_added] {
      const std::lock_guard lock(observing_);
      if (!observes(observer)) return;
      if (is_added) {
        observer->on_new_subscriber(name_, entry);
      } else {
        observer->on_subscriber_removed(name_, entry);
      }
    });
  }

  bool observes(const channel_observer* observer) {
    const std::lock_guard lock(bus_.mutex_);
    return std::find(observers_.begin(), observers_.end(), observer) != observers_.end();
  }

  void receive(message* received) {
    const std::lock_guard lock(receiving_);
    if (callback_ != nullptr) callback_(received, user_);
  }

  memory_process& process_;
  memory_bus& bus_;
  const std::string name_;
  std::vector<channel_observer*> observers_;  // Guarded by the bus's mutex.

  // Each held during the calls that it is named for, so that who takes a callback out can wait.
  std::mutex observing_;
  std::mutex receiving_;
  callback callback_ = nullptr;  // Guarded by receiving_, as is the next.
  void* user_ = nullptr;
};

memory_process::memory_process(memory_bus& bus, int32_t pid) : bus_(bus), pid_(pid) {
  messages_.Start(L"memory messages");
  announcements_.Start(L"memory announcements");
}

channel_gateway* memory_process::create(const gateway_settings& settings) {
  const std::lock_guard lock(bus_.mutex_);
  return bus_.gateways_.emplace_back(std::make_unique<memory_gateway>(*this, settings.channel))
      .get();
}

void memory_process::destroy(channel_gateway* gateway) {
  auto* const closed = static_cast<memory_gateway*>(gateway);
  closed->remove_entries(/*id=*/nullptr);
  closed->close_receiver(closed);
}

memory_bus::memory_bus() = default;

memory_bus::~memory_bus() {
  for (const auto& process : processes_) {
    process->messages_.Stop();
    process->announcements_.Stop();
  }
}

memory_process& memory_bus::start(int32_t pid) {
  const std::lock_guard lock(mutex_);
  return *processes_.emplace_back(std::make_unique<memory_process>(*this, pid));
}

void memory_bus::tell_all(const channel_subscriber& entry, bool is_added) {
  for (const auto& gateway : gateways_) {
    if (gateway->name_ != entry.channel) continue;
    for (channel_observer* const observer : gateway->observers_)
      gateway->tell(observer, entry, is_added);
  }
}

bool memory_bus::has_server(const memory_process& process, const std::string& channel) const {
  return std::any_of(entries_.begin(), entries_.end(), [&](const announced& known) {
    return &known.gateway->process_ == &process && known.entry.channel == channel &&
           rpc::int_property(known.entry, rpc::kSubscriberType) == rpc::kServer;
  });
}

bool memory_bus::reaches(const memory_gateway& from, const memory_gateway& to,
                         const message& sent) const {
  if (&from == &to || from.name_ != to.name_) return false;
  switch (sent.get_type()) {
    case rpc::kOneWayCall:
    case rpc::kMethodCall:
      return has_server(to.process_, to.name_);
    case rpc::kOneWayEvent:
    case rpc::kAnsweredEvent:
      return has_server(from.process_, from.name_) &&
             to.process_.pid_ == sent.get_int(rpc::kSubscriberPid);
    default:
      return false;
  }
}

void memory_bus::deliver(const memory_gateway& from, const message& sent,
                         const std::shared_ptr<ReplyTarget>& target) const {
  for (const auto& to : gateways_) {
    if (!reaches(from, *to, sent)) continue;
    const bool is_own = &to->process_ == &from.process_;
    auto received = rpc::message_ptr::adopt(
        new Message(std::make_shared<MessageContent>(*static_cast<const Message&>(sent).content()),
                    is_own ? 0 : static_cast<uint32_t>(from.process_.pid_), target));
    to->process_.messages_.Post(
        [to = to.get(), received = std::move(received)] { to->receive(received.get()); });
  }
}

}  // namespace messaging::testing
