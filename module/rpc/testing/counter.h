#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>

#include "module/feature/testing/call_list.h"
#include "module/frame/error_codes.h"
#include "module/platform/framework.h"
#include "module/rpc/testing/hand.h"
#include "module/rpc/testing/manual_queue.h"
#include "module/rpc/testing/two_ends.h"

// An interface that counts, its client and its server against each other.

using messaging::testing::kParameter;
inline constexpr int32_t kCounted = 7;  // The event's method.

struct ICounter {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{11111111-2222-3333-4444-555555555555}");
  static constexpr const wchar_t* kTypeName = L"ICounter";

  struct IEvent {
    virtual void OnCounted(uint32_t count) = 0;

   protected:
    ~IEvent() = default;
  };

  virtual uint32_t Count(uint32_t by) = 0;

 protected:
  ~ICounter() = default;
};

struct EventChannel final : messaging::rpc::client_subscriber<ICounter::IEvent> {
  int32_t handle(int32_t method_id, const messaging::rpc::ParameterList& input,
                 messaging::rpc::ParameterList& output) override {
    uint32_t count = 0;
    if (method_id != kCounted || !input.ReadValue(kParameter, count)) return error::kBadParameter;
    target()->OnCounted(count);
    return output.AddValue(kParameter, count + 1) ? kCounted : error::kFailed;
  }
};

namespace messaging::rpc {

template <>
inline constexpr const char* module_name<ICounter> = "Counter";
template <>
struct event_interface<ICounter::IEvent> {
  static constexpr int32_t kNumber = 1;
  using subscriber = EventChannel;
};

using EnterpriseIntegration::CallerInfo;
using orn::RemoteAccess::CallList;
using testing::Change;
using testing::Claim;
using testing::Hand;
using testing::memory_process;
using testing::Serialise;
using Told = orn::RemoteAccess::Calls;

struct Counter final : IOrnBaseInterface, ICounter {
  std::atomic<uint32_t> count{0};
  std::vector<IEvent*> observers;
  std::map<std::string, std::string> properties;  // Of the last subscriber.
  CallList told;                                  // By the servers.
  // A count by 0 announces itself and waits.
  Semaphore begun;
  Semaphore go_on;

  static inline Counter* current = nullptr;
  Counter() { current = this; }

  void* GetInterface(const InterfaceId& id) override {
    if (id == IOrnBaseInterface::kInterfaceId) return static_cast<IOrnBaseInterface*>(this);
    return id == ICounter::kInterfaceId ? static_cast<ICounter*>(this) : nullptr;
  }
  uint32_t Count(uint32_t by) override {
    if (by == 0) {
      begun.Release();
      go_on.Acquire();
    }
    return count += by;
  }
};

struct CounterSubscriber final : server_subscriber, ICounter::IEvent {
  void OnCounted(uint32_t count) override {
    ParameterList event;
    event.AddValue(kParameter, count);
    send_event(kCounted, event);
  }
};

// 1: anybody may count; 2: administrators may.
struct CounterServer final : server<ICounter> {
  Counter& counter = *Counter::current;

  CounterServer() {
    register_method(1, &CounterServer::Count);
    register_method(1, &CounterServer::Count, /*admin_required=*/false);
    register_method(2, &CounterServer::Count);
    register_callbacks(1, &CounterServer::Add, &CounterServer::Remove);
  }
  int32_t on_created() override {
    counter.told.Add("born");
    return 0;
  }
  void on_destroyed() override { counter.told.Add("died"); }
  void on_unknown_subscriber_added(int32_t interface_id, const channel_subscriber&) override {
    counter.told.Add("unknown " + std::to_string(interface_id));
  }
  int32_t on_unknown_method(int32_t method_id, method_info& info) override {
    counter.told.Add(info.caller->path + (info.impersonated ? " claimed" : " real"));
    return server::on_unknown_method(method_id, info);
  }
  int32_t Count(const ParameterList& input, ParameterList& output) {
    uint32_t by = 0;
    if (!input.ReadValue(kParameter, by)) return 87;
    return output.AddValue(kParameter, (*target)->Count(by)) ? 0 : 1627;
  }
  bool Add(CounterSubscriber* subscriber, const channel_subscriber& entry) {
    const bool is_welcome = entry.id != "unwelcome";
    if (is_welcome) counter.observers.push_back(subscriber);
    counter.properties = entry.properties;
    counter.told.Add("+" + entry.id);
    return is_welcome;
  }
  bool Remove(CounterSubscriber* subscriber, const channel_subscriber& entry) {
    std::erase(counter.observers, subscriber);
    counter.told.Add("-" + entry.id);
    return false;
  }
};

struct CounterClient final : client<ICounter> {
  using client::client_id;
  using client::first_request_timeout;
  using client::own_pid;
  using client::register_subscriber;
  using client::send_request;
  using client::unregister_subscriber;

  uint32_t Count(uint32_t by) override { return static_cast<uint32_t>(Call(1, by)); }
  int32_t Call(int32_t method, uint32_t by = 1, uint32_t timeout = 0) {
    ParameterList input;
    input.AddValue(kParameter, by);
    output = ParameterList();
    return send_request(method, input, output, timeout);
  }
  ParameterList output;  // Of the last call, where only one thread calls.
};

// Keeps what it hears, and can hold an event up.
struct Listener final : ICounter::IEvent {
  CallList heard;
  Semaphore may_leave;
  bool holds = false;
  std::atomic<bool> is_inside{false};

  void OnCounted(uint32_t count) override {
    EXPECT_FALSE(is_inside.exchange(true));
    heard.Add(std::to_string(count));
    if (holds) may_leave.Acquire();
    is_inside = false;
  }
};

struct RpcTest : testing::two_ends<CounterClient, CounterServer, Counter>,
                 IOrnBaseInterface,
                 Framework::IPluginConfig,
                 EnterpriseIntegration::ICallerInfoQuery {
  static constexpr int32_t kUser = 2, kTrusted = 3;
  const wchar_t* allow_impersonation = nullptr;
  std::optional<CallerInfo> caller;
  memory_process& user_end = bus.start(kUser);
  Hand admin{near_end, "Counter", "a"};
  Hand user{user_end, "Counter", "u"};

  RpcTest() {
    processes.known[kTrusted] = {.pid = kTrusted, .path = "trusted", .admin = false, .kind = 1};
    client.first_request_timeout = 600'000;
  }
  void SetUp() override {}  // The tests start what they need.
  void Connect() {
    two_ends::SetUp();
    EXPECT_EQ(target.told.Take(1), Told{"born"});
  }
  Told Await(size_t count) { return target.told.Take(count); }

  void* GetInterface(const InterfaceId& id) override {
    return id == IPluginConfig::kInterfaceId ? static_cast<void*>(static_cast<IPluginConfig*>(this))
                                             : static_cast<ICallerInfoQuery*>(this);
  }
  const wchar_t* GetValue(const wchar_t* key) override {
    EXPECT_EQ(std::wstring_view(key), L"messaging::rpc.AllowImpersonation");
    return allow_impersonation;
  }
  const CallerInfo* GetCaller() override { return caller ? &*caller : nullptr; }
};

}  // namespace messaging::rpc
