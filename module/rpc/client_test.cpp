#include "module/rpc/client.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <thread>

#include "module/frame/error_codes.h"
#include "module/frame/testing/semaphore.h"
#include "module/frame/testing/threaded_event_queue.h"
#include "module/platform/framework.h"
#include "module/rpc/testing/channel_end.h"

namespace {

struct IThing {
  static constexpr InterfaceId kInterfaceId{0x7431, 0x6E67};
  struct IChange {
    virtual void OnChange(int32_t number) = 0;

   protected:
    ~IChange() = default;
  };
  struct IEnd {
    virtual void OnEnd() = 0;

   protected:
    ~IEnd() = default;
  };

 protected:
  ~IThing() = default;
};

constexpr uint32_t kNumber = 0x0101;
constexpr int32_t kEchoed = 77;

struct ChangeChannel final : messaging::rpc::client_subscriber<IThing::IChange> {
  int32_t handle(int32_t method_id, const messaging::rpc::ParameterList& input,
                 messaging::rpc::ParameterList& output) override {
    uint32_t number = 0;
    if (!input.ReadValue(kNumber, number)) return error::kBadParameter;
    target().OnChange(static_cast<int32_t>(number));
    output.AddValue(kNumber, number + 1);
    return method_id;
  }
};
struct EndChannel final : messaging::rpc::client_subscriber<IThing::IEnd> {
  int32_t handle(int32_t, const messaging::rpc::ParameterList&,
                 messaging::rpc::ParameterList&) override {
    target().OnEnd();
    return 0;
  }
};

}  // namespace

namespace messaging::rpc {

template <>
inline constexpr const char* module_name<IThing> = "Thing";
template <>
struct event_interface<IThing::IChange> {
  static constexpr int32_t kNumber = 1;
  using subscriber = ChangeChannel;
};
template <>
struct event_interface<IThing::IEnd> {
  static constexpr int32_t kNumber = 2;
  using subscriber = EndChannel;
};

namespace {

using testing::channel_end;
using testing::memory_bus;
using testing::memory_process;

struct ThingClient final : client<IThing> {
  using client::client_id;
  using client::first_request_timeout;
  using client::own_pid;
  using client::register_subscriber;
  using client::unregister_subscriber;

  int32_t Call(uint32_t timeout = 0) {
    ParameterList input;
    return send_request(kEchoed, input, output, timeout);
  }
  ParameterList output;  // Of calls from one thread.
};

// A client on a bus, in a host that has what it asks for.
struct RpcClient : ::testing::Test,
                   IServMain,
                   IComponentManager,
                   Framework::IPluginConfig,
                   EnterpriseIntegration::ICallerInfoQuery,
                   notifications {
  static constexpr int32_t kPid = 10;

  memory_bus bus;
  ThreadedEventQueue queue;
  memory_process& process = bus.start(kPid);
  memory_process& service = bus.start(20);
  std::optional<channel_end> server;
  std::optional<std::wstring> allow_impersonation;
  std::optional<EnterpriseIntegration::CallerInfo> caller;
  channel_gateway_factory* gateways = &process;
  Semaphore came, went;
  ThingClient thing;

  void Run(bool with_server = true) {
    thing.own_pid = kPid;
    ASSERT_EQ(thing.Init(this), 0);
    ASSERT_TRUE(thing.register_notifications(this));
    if (with_server) StartServer();
  }
  void StartServer() {
    server.emplace(service, "rpc_server_x", kServer);
    server->on_message = [this](message* call) {
      const message_ptr reply = server->make();
      reply->set_int(kReturnValue, call->get_int(kMethodId));
      call->reply(reply.get());
    };
    came.Acquire();
  }
  void TearDown() override {
    thing.unregister_notifications(this);
    thing.UnInit();
  }

  // An event for the subscriber that was announced as `to`.
  message_ptr MakeEvent(int32_t type, const channel_subscriber& to, uint32_t number) {
    message_ptr event = server->make(type);
    event->set_int(kInterfaceNumber, *int_property(to, kInterfaceNumber));
    event->set_int(kMethodId, kEchoed);
    event->set_string(kSubscriberId, to.id.c_str());
    event->set_string(kClientId, thing.client_id.c_str());
    event->set_int(kSubscriberPid, kPid);
    ParameterList data;
    data.AddValue(kNumber, number);
    data.SaveTo(*event);
    return event;
  }
  // The entry that the server hears of next, but for its own and the client's.
  channel_subscriber NextSubscriber() {
    for (;;) {
      const auto heard = server->take(1).front();
      if (heard.what == '+' && int_property(heard.entry, kSubscriberType) == kEventSubscriber) {
        return heard.entry;
      }
    }
  }

  IComponentManager* GetComponentManager() override { return this; }
  uint32_t GetObject(const wchar_t* name, const InterfaceId& id, void** object) override {
    const std::wstring_view wanted = name;
    *object = nullptr;
    if (wanted == kGlobalEventQueue) *object = static_cast<IEventQueue*>(&queue);
    if (wanted == kChannelGateway) *object = gateways;
    if (id == Framework::IPluginConfig::kInterfaceId) *object = static_cast<IPluginConfig*>(this);
    if (id == ICallerInfoQuery::kInterfaceId) *object = static_cast<ICallerInfoQuery*>(this);
    return *object == nullptr ? error::kNotFound : error::kSuccess;
  }
  void ReleaseObject(const wchar_t*) override {}
  const wchar_t* GetValue(const wchar_t* key) override {
    EXPECT_STREQ(key, L"messaging::rpc.AllowImpersonation");
    return allow_impersonation ? allow_impersonation->c_str() : nullptr;
  }
  const EnterpriseIntegration::CallerInfo* GetCaller() override {
    return caller ? &*caller : nullptr;
  }
  void on_server_connected(int pid) override {
    EXPECT_EQ(pid, 20);
    came.Release();
  }
  void on_server_disconnected(int) override { went.Release(); }
};

// Hears changes and can hold one up.
struct Listener final : IThing::IChange, IThing::IEnd {
  Semaphore entered, may_leave;
  bool holds = false;
  std::atomic<bool> is_inside{false};
  std::vector<int32_t> heard;

  void OnChange(int32_t number) override {
    EXPECT_FALSE(is_inside.exchange(true));
    heard.push_back(number);
    entered.Release();
    if (holds) may_leave.Acquire();
    is_inside = false;
  }
  void OnEnd() override { entered.Release(); }
};

TEST_F(RpcClient, WaitsOnceForAServerThatComesLater) {
  thing.first_request_timeout = 60'000;
  Run(/*with_server=*/false);
  Semaphore refused;
  std::atomic<int> served{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) {
    callers.emplace_back([&] {
      const int32_t status = thing.Call();
      if (status == kEchoed) ++served;
      if (status == error::kNotConnected) refused.Release();
    });
  }
  for (int i = 0; i < 3; ++i)
    refused.Acquire();
  StartServer();
  for (std::thread& each : callers)
    each.join();
  EXPECT_EQ(served, 1);

  // From now on nobody waits.
  server.reset();
  went.Acquire();
  EXPECT_EQ(thing.Call(), error::kNotConnected);
  uint32_t pid = 0;
  EXPECT_FALSE(thing.is_connected(&pid));
  EXPECT_EQ(pid, 20u);
  StartServer();
  EXPECT_EQ(thing.Call(), kEchoed);
}

TEST_F(RpcClient, NeverWaitsWhereThatIsSwitchedOffOrNotNeededAnyMore) {
  thing.first_request_timeout = 0;
  Run(/*with_server=*/false);
  EXPECT_EQ(thing.Call(), error::kNotConnected);
  StartServer();
  EXPECT_TRUE(thing.wait_for_connection(60'000));
  EXPECT_EQ(thing.Call(), kEchoed);
  thing.first_request_timeout = 600'000;  // A wait that is not spent would last that long.
  server.reset();
  went.Acquire();
  EXPECT_EQ(thing.Call(), error::kNotConnected);
}

TEST_F(RpcClient, TellsWhatBecameOfACall) {
  Run();
  const auto answer_with = [this](auto fill) {
    server->on_message = [this, fill](message* call) {
      const message_ptr reply = server->make();
      fill(*reply);
      call->reply(reply.get());
    };
  };
  answer_with([](message&) {});
  EXPECT_EQ(thing.Call(), error::kNotAdded);
  answer_with([](message& reply) { reply.set_string(kReturnValue, "0"); });
  EXPECT_EQ(thing.Call(), error::kNotAdded);

  // What came with a failure is there; what does not load leaves the status as it is.
  answer_with([](message& reply) {
    reply.set_int(kReturnValue, error::kBusy);
    ParameterList data;
    data.AddValue(kNumber, 5);
    data.SaveTo(reply);
  });
  EXPECT_EQ(thing.Call(), error::kBusy);
  uint32_t number = 0;
  EXPECT_TRUE(thing.output.ReadValue(kNumber, number));
  answer_with([](message& reply) {
    reply.set_int(kReturnValue, 0);
    reply.set_binary(kData, "\xFFgarbage", 8);
  });
  EXPECT_EQ(thing.Call(), 0);
  EXPECT_FALSE(thing.output.HasTree());

  service.drop_replies(true);
  EXPECT_EQ(thing.Call(/*timeout=*/10), error::kTimeout);
  service.drop_replies(false);
  server->on_message = [](message*) {};  // Nobody answers: no wait.
  EXPECT_EQ(thing.Call(), error::kTimeout);

  // The server goes while it has the call.
  server->on_message = [this](message*) {
    server->resign();
    went.Acquire();
  };
  EXPECT_EQ(thing.Call(), error::kNotConnected);
}

TEST_F(RpcClient, StatesForWhomItCallsOnlyWhereThatIsAllowed) {
  using EnterpriseIntegration::CallerInfo;
  const CallerInfo other{.pid = 30, .path = L"C:\\\u00E4.exe", .admin = true};
  const CallerInfo own{.pid = kPid, .path = L"own", .admin = true};
  const struct {
    std::optional<std::wstring> allowed;
    std::optional<CallerInfo> caller;
    bool is_stated;
  } kCases[] = {{L"1", other, true},   {L"1", own, false},  {L"1", {}, false}, {L"0", other, false},
                {L" 1", other, false}, {L"", other, false}, {{}, other, false}};
  for (const auto& each : kCases) {
    allow_impersonation = each.allowed;
    caller = each.caller;
    Run();
    server->on_message = [&](message* call) {
      EXPECT_EQ(call->get_type(), kMethodCall);
      EXPECT_EQ(call->get_string(kClientId), thing.client_id);
      EXPECT_EQ(int_field(*call, kSerialize), 0);
      EXPECT_FALSE(call->has_field(kData, message::kBinary));
      EXPECT_EQ(call->has_field(kImpersonatedPid, message::kInt), each.is_stated);
      EXPECT_EQ(call->has_field(kImpersonatedPath, message::kString), each.is_stated);
      EXPECT_EQ(call->has_field(kImpersonatedAdmin, message::kInt), each.is_stated);
      if (!each.is_stated) return;
      EXPECT_EQ(call->get_int(kImpersonatedPid), 30);
      EXPECT_STREQ(call->get_string(kImpersonatedPath), "C:\\\xC3\xA4.exe");
      EXPECT_EQ(call->get_int(kImpersonatedAdmin), 1);
    };
    thing.Call();
    server.reset();
    went.Acquire();
    TearDown();
  }
}

TEST_F(RpcClient, AnnouncesEachSubscriptionOnce) {
  Run();
  Listener listener;
  IThing::IChange* const change = &listener;
  IThing::IEnd* const end = &listener;
  EXPECT_FALSE(thing.unregister_subscriber(change));
  EXPECT_TRUE(thing.register_subscriber(change));
  EXPECT_FALSE(thing.register_subscriber(change));
  EXPECT_TRUE(thing.register_subscriber(end, "named", {{"more", "x"}}));

  const channel_subscriber first = NextSubscriber();
  const channel_subscriber second = NextSubscriber();
  EXPECT_EQ(first.id.find(kAnonymousPrefix), 0u);
  EXPECT_EQ(first.pid, kPid);
  EXPECT_EQ(first.properties,
            (std::map<std::string, std::string>{{"rpc_interface_id", "1"},
                                                {"rpc_client_id", thing.client_id},
                                                {"rpc_subscriber_id", first.id},
                                                {"rpc_subscriber_type", "0"}}));
  EXPECT_EQ(second.id, "named");
  EXPECT_EQ(second.properties.at("more"), "x");

  EXPECT_TRUE(thing.unregister_subscriber(change));
  EXPECT_FALSE(thing.unregister_subscriber(change));
  const auto heard = server->take(1).front();
  EXPECT_EQ(heard.what, '-');
  EXPECT_EQ(heard.entry.id, first.id);
  EXPECT_TRUE(thing.unregister_subscriber(end));
}

TEST_F(RpcClient, DeliversEventsInOrderPerSubscriberAndToNobodyElse) {
  Run();
  Listener slow, quick;
  slow.holds = true;
  ASSERT_TRUE(thing.register_subscriber<IThing::IChange>(&slow));
  const channel_subscriber to_slow = NextSubscriber();
  ASSERT_TRUE(thing.register_subscriber<IThing::IChange>(&quick));
  const channel_subscriber to_quick = NextSubscriber();

  const auto post = [&](const message_ptr& event) { server->line().post(event.get()); };
  const auto post_spoilt = [&](auto spoil) {
    const message_ptr event = MakeEvent(kOneWayEvent, to_quick, 99);
    spoil(*event);
    post(event);
  };
  for (uint32_t i = 0; i < 20; ++i)
    post(MakeEvent(kOneWayEvent, to_slow, i));
  post_spoilt([](message& event) { event.set_string(kClientId, "rpc_client_y"); });
  post_spoilt([](message& event) { event.set_string(kSubscriberId, "unknown"); });
  post_spoilt([](message& event) { event.set_int(kInterfaceNumber, 2); });
  post_spoilt([](message& event) { event.set_string(kMethodId, "1"); });
  post_spoilt([](message& event) { event.set_binary(kData, "\xFFgarbage", 8); });
  post(MakeEvent(kOneWayEvent, to_quick, 1));  // Does not wait for the other.
  quick.entered.Acquire();
  EXPECT_EQ(quick.heard, std::vector<int32_t>{1});
  for (int i = 0; i < 20; ++i) {
    slow.entered.Acquire();
    slow.may_leave.Release();
  }

  // An unregister returns when no handler runs any more.
  post(MakeEvent(kOneWayEvent, to_slow, 20));
  slow.entered.Acquire();
  Semaphore begun;
  std::thread leaver([&] {
    begun.Release();
    EXPECT_TRUE(thing.unregister_subscriber<IThing::IChange>(&slow));
    EXPECT_FALSE(slow.is_inside);
  });
  begun.Acquire();
  slow.may_leave.Release();
  leaver.join();
  for (int32_t i = 0; i <= 20; ++i)
    EXPECT_EQ(slow.heard.at(static_cast<size_t>(i)), i);
  EXPECT_TRUE(thing.unregister_subscriber<IThing::IChange>(&quick));
}

TEST_F(RpcClient, AnswersEventsThatWaitForIt) {
  Run();
  Listener listener;
  ASSERT_TRUE(thing.register_subscriber<IThing::IChange>(&listener));
  const channel_subscriber to = NextSubscriber();
  {
    const message_ptr answer = server->ask(MakeEvent(kAnsweredEvent, to, 7));
    ASSERT_TRUE(answer);
    ParameterList data;
    uint32_t number = 0;
    EXPECT_EQ(int_field(*answer, kReturnValue), kEchoed);
    EXPECT_TRUE(data.LoadFrom(*answer) && data.ReadValue(kNumber, number));
    EXPECT_EQ(number, 8u);
  }
  {  // Nobody has that id: no answer.
    const message_ptr lost = MakeEvent(kAnsweredEvent, to, 7);
    lost->set_string(kSubscriberId, "unknown");
    EXPECT_FALSE(server->ask(lost));
  }
  // Dropped by the queue, in order or not.
  queue.Hold(true);
  std::vector<std::future<message_ptr>> asked;
  for (const int32_t serialize : {0, 1}) {
    const message_ptr event = MakeEvent(kAnsweredEvent, to, 7);
    event->set_int(kSerialize, serialize);
    asked.push_back(std::async(std::launch::async, [this, event] { return server->ask(event); }));
  }
  queue.AwaitQueued(2);
  thing.UnInit();
  for (auto& each : asked) {
    const message_ptr answer = each.get();
    ASSERT_TRUE(answer);
    EXPECT_EQ(int_field(*answer, kReturnValue), error::kAborted);
  }
  EXPECT_EQ(listener.heard, std::vector<int32_t>{7});
}

TEST_F(RpcClient, FailsInitWithoutAMessagingLibrary) {
  gateways = nullptr;
  thing.first_request_timeout = 0;
  EXPECT_EQ(thing.Init(this), error::kMissingDependency);
  EXPECT_EQ(thing.Call(), error::kNotConnected);
}

}  // namespace
}  // namespace messaging::rpc
