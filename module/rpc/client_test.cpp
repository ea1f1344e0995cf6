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
#include "module/rpc/testing/faces_host.h"

namespace {

struct IThing {
  static constexpr InterfaceId kInterfaceId{0x7431, 0x6E67};
  struct IChange {
    virtual void OnChange(uint32_t number) = 0;

   protected:
    ~IChange() = default;
  };
  struct IEnd {
   protected:
    ~IEnd() = default;
  };

 protected:
  ~IThing() = default;
};

constexpr uint32_t kNumber = 0x0101;
constexpr int32_t kMethod = 77;
constexpr char kGarbage[] = "\xFFgarbage";

struct ChangeChannel final : messaging::rpc::client_subscriber<IThing::IChange> {
  int32_t handle(int32_t method_id, const messaging::rpc::ParameterList& input,
                 messaging::rpc::ParameterList& output) override {
    uint32_t number = 0;
    if (!input.ReadValue(kNumber, number)) return error::kBadParameter;
    target()->OnChange(number);
    output.AddValue(kNumber, number + 1);
    return method_id;
  }
};
struct EndChannel final : messaging::rpc::client_subscriber<IThing::IEnd> {
  int32_t handle(int32_t, const messaging::rpc::ParameterList&,
                 messaging::rpc::ParameterList&) override {
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

using EnterpriseIntegration::CallerInfo;
using testing::channel_end;

struct ThingClient final : client<IThing> {
  using client::client_id;
  using client::first_request_timeout;
  using client::own_pid;
  using client::register_subscriber;
  using client::unregister_subscriber;

  int32_t Call(uint32_t timeout = 0) {
    ParameterList output;
    return Call(output, timeout);
  }
  int32_t Call(ParameterList& output, uint32_t timeout = 0) {
    return send_request(kMethod, ParameterList(), output, timeout);
  }
};

// A client in a host that has what it asks for, and a server by hand.
struct RpcClient : ::testing::Test,
                   Framework::IPluginConfig,
                   EnterpriseIntegration::ICallerInfoQuery,
                   notifications {
  static constexpr int32_t kPid = 10, kServerPid = 20;

  testing::memory_bus bus;
  testing::memory_process& service = bus.start(kServerPid);
  ThreadedEventQueue queue;
  testing::faces_host host;
  std::optional<channel_end> server;
  std::optional<std::wstring> allow_impersonation;
  std::optional<CallerInfo> caller;
  Semaphore came, went;
  ThingClient thing;

  RpcClient() {
    host.put<IEventQueue>(kGlobalEventQueue, &queue);
    host.put<channel_gateway_factory>(kChannelGateway, &bus.start(kPid));
    host.put<IPluginConfig>(L"Framework.Manager", this);
    host.put<ICallerInfoQuery>(L"EndpointIntegration.Manager", this);
    thing.own_pid = kPid;
  }
  void Run() {
    ASSERT_EQ(thing.Init(&host), 0);
    ASSERT_TRUE(thing.register_notifications(this));
  }
  // It answers with the number of the method.
  void StartServer() {
    server.emplace(service, "rpc_server_x", kServer, [](message& call) {
      call.set_int(kReturnValue, call.get_int(kMethodId));
      call.reply(&call);
    });
    came.Acquire();
  }
  void StopServer() {
    server.reset();
    went.Acquire();
  }
  void AnswerWith(std::function<void(message&)> fill) {
    server->answer_with([this, fill](message& call) {
      const message_ptr reply = server->make();
      fill(*reply);
      call.reply(reply.get());
    });
  }
  void TearDown() override {
    thing.unregister_notifications(this);
    thing.UnInit();
    EXPECT_EQ(host.references(), 0);
  }

  // An event for the subscriber that was announced as `to`.
  message_ptr MakeEvent(int32_t type, const channel_subscriber& to, uint32_t number) {
    message_ptr event = server->make(type);
    event->set_int(kInterfaceNumber, *int_property(to, kInterfaceNumber));
    event->set_int(kMethodId, kMethod);
    event->set_string(kSubscriberId, to.id.c_str());
    event->set_string(kClientId, thing.client_id.c_str());
    event->set_int(kSubscriberPid, kPid);
    ParameterList data;
    data.AddValue(kNumber, number);
    data.SaveTo(*event);
    return event;
  }
  // The next event subscriber that the server hears of.
  channel_subscriber NextSubscriber() {
    for (;;) {
      const channel_subscriber entry = server->take(1).front().entry;
      if (int_property(entry, kSubscriberType) == kEventSubscriber) return entry;
    }
  }

  const wchar_t* GetValue(const wchar_t* key) override {
    EXPECT_EQ(std::wstring_view(key), L"messaging::rpc.AllowImpersonation");
    return allow_impersonation ? allow_impersonation->c_str() : nullptr;
  }
  const CallerInfo* GetCaller() override { return caller ? &*caller : nullptr; }
  void on_server_connected(int pid) override {
    EXPECT_EQ(pid, kServerPid);
    came.Release();
  }
  void on_server_disconnected(int) override { went.Release(); }
};

// Keeps what it hears, and can hold an event up.
struct Listener final : IThing::IChange, IThing::IEnd {
  Semaphore entered, may_leave;
  bool holds = false;
  std::atomic<bool> is_inside{false};
  std::vector<uint32_t> heard;

  void OnChange(uint32_t number) override {
    EXPECT_FALSE(is_inside.exchange(true));
    heard.push_back(number);
    entered.Release();
    if (holds) may_leave.Acquire();
    is_inside = false;
  }
};

TEST_F(RpcClient, WaitsOnceForAServerThatComesLater) {
  Run();
  thing.first_request_timeout = 0;
  EXPECT_EQ(thing.Call(), error::kNotConnected);
  // Of several callers one waits, which that did not spend.
  thing.first_request_timeout = 600'000;
  Semaphore refused;
  std::atomic<int> served{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) {
    callers.emplace_back([&] {
      const int32_t status = thing.Call();
      if (status == kMethod) ++served;
      if (status == error::kNotConnected) refused.Release();
    });
  }
  for (int i = 0; i < 3; ++i)
    refused.Acquire();
  StartServer();
  for (std::thread& each : callers)
    each.join();
  EXPECT_EQ(served, 1);

  StopServer();
  EXPECT_EQ(thing.Call(), error::kNotConnected);
  uint32_t pid = 0;
  EXPECT_FALSE(thing.is_connected(&pid));
  EXPECT_EQ(pid, 20u);
  StartServer();
  EXPECT_EQ(thing.Call(), kMethod);
}

TEST_F(RpcClient, DoesNotWaitAfterACallThatFoundTheServer) {
  thing.first_request_timeout = 600'000;
  Run();
  StartServer();
  EXPECT_TRUE(thing.wait_for_connection(600'000));
  EXPECT_EQ(thing.Call(), kMethod);
  StopServer();
  EXPECT_EQ(thing.Call(), error::kNotConnected);
}

TEST_F(RpcClient, TellsWhatBecameOfACall) {
  Run();
  StartServer();
  AnswerWith([](message& reply) { reply.set_string(kReturnValue, "0"); });
  EXPECT_EQ(thing.Call(), error::kNotAdded);

  // What comes with a failure is there; what does not load leaves the status as it is.
  AnswerWith([](message& reply) {
    reply.set_int(kReturnValue, error::kBusy);
    ParameterList data;
    data.AddValue(kNumber, 5);
    data.SaveTo(reply);
  });
  ParameterList output;
  uint32_t number = 0;
  EXPECT_EQ(thing.Call(output), error::kBusy);
  EXPECT_TRUE(output.ReadValue(kNumber, number));
  AnswerWith([](message& reply) {
    reply.set_int(kReturnValue, 0);
    reply.set_binary(kData, kGarbage, sizeof(kGarbage));
  });
  EXPECT_EQ(thing.Call(output), 0);
  EXPECT_FALSE(output.HasTree());

  service.drop_replies(true);
  EXPECT_EQ(thing.Call(/*timeout=*/10), error::kTimeout);
  server->answer_with({});  // Nobody answers, which is known at once.
  EXPECT_EQ(thing.Call(), error::kTimeout);
  server->answer_with([this](message&) {  // The server goes while it has the call.
    server->resign();
    went.Acquire();
  });
  EXPECT_EQ(thing.Call(), error::kNotConnected);
}

TEST_F(RpcClient, StatesForWhomItCallsOnlyWhereThatIsAllowed) {
  const CallerInfo other{.pid = 30, .path = L"C:\\\u00E4.exe", .admin = true};
  const CallerInfo own{.pid = kPid, .path = L"own", .admin = true};
  const struct {
    std::optional<std::wstring> allowed;
    std::optional<CallerInfo> caller;
    bool is_stated;
  } kCases[] = {{L"1", other, true},  {L"1", own, false},    {L"1", {}, false},
                {L"0", other, false}, {L" 1", other, false}, {{}, other, false}};
  for (const auto& each : kCases) {
    allow_impersonation = each.allowed;
    caller = each.caller;
    Run();
    StartServer();
    server->answer_with([&](message& call) {
      EXPECT_EQ(call.get_string(kClientId), thing.client_id);
      EXPECT_EQ(int_field(call, kSerialize), 0);
      EXPECT_FALSE(call.has_field(kData, message::kBinary));
      EXPECT_EQ(call.has_field(kImpersonatedPid, message::kInt), each.is_stated);
      EXPECT_EQ(call.has_field(kImpersonatedPath, message::kString), each.is_stated);
      EXPECT_EQ(call.has_field(kImpersonatedAdmin, message::kInt), each.is_stated);
      if (!each.is_stated) return;
      EXPECT_EQ(call.get_int(kImpersonatedPid), 30);
      EXPECT_STREQ(call.get_string(kImpersonatedPath), "C:\\\xC3\xA4.exe");
      EXPECT_EQ(call.get_int(kImpersonatedAdmin), 1);
    });
    EXPECT_EQ(thing.Call(), error::kTimeout);
    StopServer();
    TearDown();
  }
}

TEST_F(RpcClient, AnnouncesEachSubscriptionOnce) {
  Run();
  StartServer();
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
  EXPECT_EQ(heard.what + heard.entry.id, '-' + first.id);
}

TEST_F(RpcClient, DeliversEventsInOrderPerSubscriberAndToNobodyElse) {
  Run();
  StartServer();
  Listener slow, quick;
  slow.holds = true;
  ASSERT_TRUE(thing.register_subscriber<IThing::IChange>(&slow));
  const channel_subscriber to_slow = NextSubscriber();
  ASSERT_TRUE(thing.register_subscriber<IThing::IChange>(&quick));
  const channel_subscriber to_quick = NextSubscriber();

  const auto post = [&](
                        const channel_subscriber& to, uint32_t number,
                        const std::function<void(message&)>& spoil = [](message&) {}) {
    const message_ptr event = MakeEvent(kOneWayEvent, to, number);
    spoil(*event);
    server->line().post(event.get());
  };
  for (uint32_t i = 0; i < 20; ++i)
    post(to_slow, i);
  post(to_quick, 99, [](message& event) { event.set_string(kClientId, "rpc_client_y"); });
  post(to_quick, 99, [](message& event) { event.set_string(kSubscriberId, "unknown"); });
  post(to_quick, 99, [](message& event) { event.set_int(kInterfaceNumber, 2); });
  post(to_quick, 99, [](message& event) { event.set_string(kMethodId, "1"); });
  post(to_quick, 99, [](message& event) { event.set_binary(kData, kGarbage, sizeof(kGarbage)); });
  post(to_quick, 1);  // Does not wait for the other subscriber.
  quick.entered.Acquire();
  EXPECT_EQ(quick.heard, std::vector<uint32_t>{1});
  for (int i = 0; i < 20; ++i) {
    slow.entered.Acquire();
    slow.may_leave.Release();
  }

  // An unregister returns when no handler runs any more.
  post(to_slow, 20);
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
  ASSERT_EQ(slow.heard.size(), 21u);
  for (uint32_t i = 0; i <= 20; ++i)
    EXPECT_EQ(slow.heard[i], i);
}

TEST_F(RpcClient, AnswersEventsThatAreWaitedForAlsoWhenItsQueueDropsThem) {
  Run();
  StartServer();
  Listener listener;
  ASSERT_TRUE(thing.register_subscriber<IThing::IChange>(&listener));
  const channel_subscriber to = NextSubscriber();
  const message_ptr handled = server->ask(MakeEvent(kAnsweredEvent, to, 7));
  ASSERT_TRUE(handled);
  ParameterList data;
  uint32_t number = 0;
  EXPECT_EQ(int_field(*handled, kReturnValue), kMethod);
  EXPECT_TRUE(data.LoadFrom(*handled) && data.ReadValue(kNumber, number));
  EXPECT_EQ(number, 8u);
  const message_ptr lost = MakeEvent(kAnsweredEvent, to, 7);
  lost->set_string(kSubscriberId, "unknown");
  EXPECT_FALSE(server->ask(lost));

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
  EXPECT_EQ(listener.heard, std::vector<uint32_t>{7});
}

TEST_F(RpcClient, HoldsOneWayCallsUntilTheServerIsThere) {
  testing::memory_process& process = bus.start(30);
  channel_end line(process, "c", kClient);
  std::vector<int32_t> arrived;
  Semaphore all_here;
  server.emplace(service, "s", kServer, [&](message& call) {
    arrived.push_back(call.get_int(kMethodId));
    if (arrived.size() == 2) all_here.Release();
  });
  const std::string name = "Thing";
  delayed_method_holder holder(name);
  holder.init(&line.line());
  const auto hold = [&](int32_t method_id) {
    message_ptr call = line.make(kOneWayCall);
    call->set_int(kMethodId, method_id);
    holder.hold(std::move(call), method_id);
  };
  hold(1);
  holder.set_state(false);
  hold(2);
  holder.set_state(true);
  all_here.Acquire();
  hold(3);
  holder.uninit();
  holder.set_state(true);
  EXPECT_EQ(arrived, (std::vector<int32_t>{1, 2}));
}

TEST_F(RpcClient, FailsInitWithoutAMessagingLibrary) {
  host.replace(kChannelGateway, nullptr);
  EXPECT_EQ(thing.Init(&host), error::kMissingDependency);
}

}  // namespace
}  // namespace messaging::rpc
