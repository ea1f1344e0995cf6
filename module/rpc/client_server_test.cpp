#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <optional>
#include <thread>

#include "module/frame/error_codes.h"
#include "module/platform/framework.h"
#include "module/rpc/properties.h"
#include "module/rpc/testing/manual_queue.h"
#include "module/rpc/testing/tales.h"
#include "module/rpc/testing/two_ends.h"
#include "module/rpc/wire.h"

// Client and server of an interface, mostly against each other. What a well-behaved end never says
// is said by hand.

namespace {

using messaging::testing::tales;

constexpr uint32_t kParameter = 0x0101;
constexpr int32_t kCounted = 7;  // The event's method.

struct ICounter {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{11111111-2222-3333-4444-555555555555}");
  static constexpr const wchar_t* kTypeName = L"ICounter";

  struct IEvent {
    virtual void OnCounted(uint32_t count) = 0;

   protected:
    ~IEvent() = default;
  };
  struct IOther {};  // Events that no server knows.

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
struct OtherChannel final : messaging::rpc::client_subscriber<ICounter::IOther> {
  int32_t handle(int32_t, const messaging::rpc::ParameterList&,
                 messaging::rpc::ParameterList&) override {
    return 0;
  }
};

}  // namespace

namespace messaging::rpc {

template <>
inline constexpr const char* module_name<ICounter> = "Counter";
template <>
struct event_interface<ICounter::IEvent> {
  static constexpr int32_t kNumber = 1;
  using subscriber = EventChannel;
};
template <>
struct event_interface<ICounter::IOther> {
  static constexpr int32_t kNumber = 2;
  using subscriber = OtherChannel;
};

namespace {

using EnterpriseIntegration::CallerInfo;
using testing::memory_process;
using Told = std::vector<std::string>;

struct Counter final : IOrnBaseInterface, ICounter {
  std::atomic<uint32_t> count{0};
  std::vector<IEvent*> observers;
  std::map<std::string, std::string> properties;  // Of the last subscriber.
  tales told;                                     // By the servers.
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
    counter.told.tell("born");
    return 0;
  }
  void on_destroyed() override { counter.told.tell("died"); }
  void on_unknown_subscriber_added(int32_t interface_id, const channel_subscriber&) override {
    counter.told.tell("unknown " + std::to_string(interface_id));
  }
  int32_t on_unknown_method(int32_t method_id, method_info& info) override {
    counter.told.tell(info.caller->path + (info.impersonated ? " claimed" : " real"));
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
    counter.told.tell("+" + entry.id);
    return is_welcome;
  }
  bool Remove(CounterSubscriber* subscriber, const channel_subscriber& entry) {
    std::erase(counter.observers, subscriber);
    counter.told.tell("-" + entry.id);
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
struct Listener final : ICounter::IEvent, ICounter::IOther {
  tales heard;
  Semaphore may_leave;
  bool holds = false;
  std::atomic<bool> is_inside{false};

  void OnCounted(uint32_t count) override {
    EXPECT_FALSE(is_inside.exchange(true));
    heard.tell(std::to_string(count));
    if (holds) may_leave.Acquire();
    is_inside = false;
  }
};

using Change = std::function<void(message&)>;

// An end of the channel by hand.
struct Hand {
  memory_process& process;
  const std::string id;
  channel_gateway* const gateway = process.create({.channel = "TsrComm.Counter"});
  channel* const line = gateway->get_factory()->open_channel("");
  Change on_message;

  Hand(memory_process& of, std::string name) : process(of), id(std::move(name)) {}
  ~Hand() { process.destroy(gateway); }

  // What arrives from now on is handled so; a handler that runs has ended by then.
  void AnswerWith(Change handler) {
    line->close_receiver(line->get_receiver());
    on_message = std::move(handler);
    line->get_receiver()->set_callback(
        [](message* received, void* user) { static_cast<Hand*>(user)->on_message(*received); },
        this, 0);
  }
  channel_subscriber Entry(int32_t type, const char* subscriber = "") const {
    channel_subscriber entry{.pid = 0, .channel = "TsrComm.Counter", .id = id, .properties = {}};
    write_int_property(entry, kSubscriberType, type);
    entry.properties[kClientId] = id;
    if (type != kEventSubscriber) return entry;
    entry.id = subscriber;
    entry.properties[kSubscriberId] = subscriber;
    write_int_property(entry, kInterfaceNumber, 1);
    return entry;
  }
  void Announce(int32_t type = kClient) { gateway->add_subscriber(Entry(type)); }
  void Withdraw(int32_t type = kClient) { gateway->remove_subscriber(Entry(type)); }

  message_ptr Make(int32_t type = 0) const {
    auto made = message_ptr::adopt(gateway->get_factory()->create_message(0));
    made->set_type(type);
    return made;
  }
  // The answer; empty where nobody gives one.
  message_ptr Ask(const message_ptr& request) const {
    message* answer = nullptr;
    line->send(request.get(), &answer, 60000 | channel::kMilliseconds);
    return message_ptr::adopt(answer);
  }
  // The status, if there is an answer.
  std::optional<int32_t> Call(int32_t method, uint32_t by = 1, const Change& change = {}) const {
    const auto call = Make(kMethodCall);
    call->set_int(kMethodId, method);
    call->set_string(kClientId, id.c_str());
    ParameterList input;
    input.AddValue(kParameter, by);
    input.SaveTo(*call);
    if (change) change(*call);
    const auto answer = Ask(call);
    return answer ? int_field(*answer, kReturnValue) : std::nullopt;
  }
  std::future<std::optional<int32_t>> CallAside(uint32_t by, const Change& change = {}) const {
    return std::async(std::launch::async, [this, by, change] { return Call(1, by, change); });
  }
};

void Serialise(message& call) {
  call.set_int(kSerialize, 1);
}

// A claim to call for another process.
Change Claim(std::optional<int32_t> admin) {
  return [admin](message& call) {
    call.set_int(kImpersonatedPid, 77);
    call.set_string(kImpersonatedPath, "other");
    if (admin) call.set_int(kImpersonatedAdmin, *admin);
  };
}

struct RpcTest : testing::two_ends<CounterClient, CounterServer, Counter>,
                 IOrnBaseInterface,
                 Framework::IPluginConfig,
                 EnterpriseIntegration::ICallerInfoQuery {
  static constexpr int32_t kUser = 2, kTrusted = 3;
  const wchar_t* allow_impersonation = nullptr;
  std::optional<CallerInfo> caller;
  memory_process& user_end = bus.start(kUser);
  Hand admin{near_end, "a"};
  Hand user{user_end, "u"};

  RpcTest() {
    processes.known[kTrusted] = {.pid = kTrusted, .path = "trusted", .admin = false, .kind = 1};
    client.first_request_timeout = 600'000;
  }
  void SetUp() override {}  // The tests start what they need.
  void Connect() {
    two_ends::SetUp();
    EXPECT_EQ(target.told.await(1), Told{"born"});
  }
  Told Await(size_t count) { return target.told.await(count); }

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

TEST_F(RpcTest, BothFailToBeginWithoutWhatTheyNeed) {
  EXPECT_EQ(server.Init(nullptr), 87);
  for (const auto* name : {kGlobalEventQueue, kProcessInfoDb, kChannelGateway}) {
    host::FakeHost host;
    furnish(host, far_end);
    host.Add(L"Counter", &target);
    host.Add(kProcessInfoDb, &processes);
    host.Add(name, nullptr);
    EXPECT_EQ(server.Init(&host), 5002);
    EXPECT_EQ(host.references(), 0);
  }
  far_host.Add(L"Counter", &processes);
  EXPECT_EQ(server.Init(&far_host), 1168);
  near_host.Add(kChannelGateway, nullptr);
  EXPECT_EQ(client.Init(&near_host), 5002);
}

TEST_F(RpcTest, ClientWaitsOnceForAServerThatComesLater) {
  ASSERT_EQ(client.Init(&near_host), 0);
  client.first_request_timeout = 0;
  EXPECT_EQ(client.Call(1), 2250);
  // Of several callers one waits, which that did not spend.
  client.first_request_timeout = 600'000;
  Semaphore refused;
  std::atomic<int> served{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) {
    callers.emplace_back([&] {
      ParameterList output;
      const int32_t status = client.send_request(2, ParameterList(), output);
      if (status == 87) ++served;
      if (status == 2250) refused.Release();
    });
  }
  for (int i = 0; i < 3; ++i)
    refused.Acquire();
  StartServer();
  for (std::thread& each : callers)
    each.join();
  EXPECT_EQ(served, 1);

  // Nor does it wait after a call that found the server.
  CounterClient other;
  other.first_request_timeout = 600'000;
  other.register_notifications(this);
  ASSERT_EQ(other.Init(&near_host), 0);
  came.Acquire();
  EXPECT_EQ(other.Call(1), 0);
  StopServer();
  went.Acquire();
  uint32_t pid = 0;
  EXPECT_FALSE(client.is_connected(&pid));
  EXPECT_EQ(pid, 1u);
  EXPECT_EQ(client.Call(1), 2250);
  EXPECT_EQ(other.Call(1), 2250);
  StartServer();
  came.Acquire();
  EXPECT_EQ(client.Call(1), 0);
  other.UnInit();
}

TEST_F(RpcTest, AnswersByWhatTheCallerMayDoOrForWhomItMayCall) {
  const CallerInfo boss{.pid = 77, .path = L"C:\\\u00E4.exe", .admin = true};
  const CallerInfo guest{.pid = 77, .path = L"guest", .admin = false};
  const CallerInfo own{.pid = near_pid, .path = L"itself", .admin = false};
  const struct {
    int32_t pid;
    const wchar_t* allowed;
    std::optional<CallerInfo> caller;
    const char* who;  // Null where it is none who may call all methods.
  } kRows[] = {
      {near_pid, nullptr, {}, "own real"},  {near_pid, L"1", {}, "own real"},
      {near_pid, L"1", own, "own real"},    {near_pid, L"1", boss, "C:\\\xC3\xA4.exe claimed"},
      {near_pid, L"1", guest, nullptr},     {near_pid, L"0", guest, "own real"},
      {near_pid, L" 1", guest, "own real"}, {near_pid, nullptr, guest, "own real"},
      {kUser, L"1", {}, nullptr},           {kUser, L"1", boss, nullptr},
      {kTrusted, L"1", {}, nullptr},        {kTrusted, L"1", boss, "C:\\\xC3\xA4.exe claimed"},
  };
  for (const bool shared : {true, false}) {
    processes.has_shared = shared;
    ASSERT_EQ(server.Init(&far_host), 0);
    for (const auto& row : kRows) {
      const bool may = row.who != nullptr && (shared || row.pid != kTrusted);
      allow_impersonation = row.allowed;
      caller = row.caller;
      host::FakeHost host;
      furnish(host, bus.start(row.pid));
      host.Add(L"Framework.Manager", this);
      host.Add(L"EndpointIntegration.Manager", this);
      CounterClient one;
      one.own_pid = static_cast<uint32_t>(row.pid);
      ASSERT_EQ(one.Init(&host), 0);
      ASSERT_TRUE(one.wait_for_connection(60000));
      EXPECT_EQ(Await(1), Told{"born"});
      EXPECT_EQ(one.Call(1), 0);
      EXPECT_EQ(one.Call(2), may ? 0 : 5);
      EXPECT_EQ(one.Call(99), may ? 632 : 5);
      one.UnInit();
      EXPECT_EQ(host.references(), 0);
      const Told expected = may ? Told{row.who, "died"} : Told{"died"};
      EXPECT_EQ(Await(expected.size()), expected);
    }
    server.UnInit();
  }
}

TEST_F(RpcTest, ServerTurnsDownMessagesThatLackSomething) {
  Connect();
  admin.Announce();
  Await(1);
  EXPECT_EQ(admin.Call(1, 1, [](message& call) { call.set_binary(kData, "rubbish", 7); }), 87);
  EXPECT_EQ(admin.Call(1, 1, [](message& call) { call.set_string(kMethodId, "1"); }), 87);
  EXPECT_EQ(admin.Call(1, 1, [](message& call) { call.set_int(kClientId, 1); }), std::nullopt);
  EXPECT_EQ(admin.Call(1, 1, [](message& call) { call.set_type(kOneWayCall); }), std::nullopt);
  EXPECT_EQ(target.count, 1u) << "the one-way call was served";
  EXPECT_EQ(admin.Call(99, 1, Claim(2)), 5) << "2 is no administrator";
  EXPECT_EQ(admin.Call(99, 1, Claim(std::nullopt)), 632) << "no claim";
  EXPECT_EQ(Await(1), Told{"own real"});
}

TEST_F(RpcTest, ServerIsThereForAsLongAsItsClientIs) {
  ASSERT_EQ(server.Init(&far_host), 0);
  EXPECT_EQ(user.Call(1), 0) << "ahead of its entry";
  EXPECT_EQ(Await(2), (Told{"born", "died"}));

  user.Announce();
  Await(1);
  auto call = user.CallAside(0);
  target.begun.Acquire();
  user.Withdraw();
  target.go_on.Release();
  EXPECT_EQ(call.get(), 0);
  EXPECT_EQ(Await(1), Told{"died"}) << "once its call had ended";

  // A server's entry makes none; those of the client and its subscribers hold one.
  user.Announce(kServer);
  user.Announce();
  user.gateway->add_subscriber(user.Entry(kEventSubscriber, "s"));
  EXPECT_EQ(Await(2), (Told{"born", "+s"}));
  user.Withdraw();
  user.gateway->remove_subscriber(user.Entry(kEventSubscriber, "s"));
  EXPECT_EQ(Await(2), (Told{"-s", "died"}));
}

TEST_F(RpcTest, ASlowMethodStopsNoOtherCall) {
  ASSERT_EQ(server.Init(&far_host), 0);
  user.Announce();
  admin.Announce();
  Await(2);
  auto slow = user.CallAside(0);
  target.begun.Acquire();
  EXPECT_EQ(user.Call(1), 0);
  EXPECT_EQ(admin.Call(1), 0);

  auto first = admin.CallAside(0, Serialise);
  target.begun.Acquire();
  std::promise<void> sent;
  auto second = admin.CallAside(1, [&](message& call) {
    Serialise(call);
    sent.set_value();
  });
  sent.get_future().get();
  EXPECT_EQ(user.Call(1, 1, Serialise), 0) << "the calls of one client wait for each other";
  EXPECT_EQ(target.count, 3u);
  target.go_on.Release(2);
  for (auto* const each : {&slow, &first, &second})
    EXPECT_EQ(each->get(), 0);
  EXPECT_EQ(target.count, 4u);
}

TEST_F(RpcTest, EventsReachTheirSubscriberInOrderAndNobodyElse) {
  Connect();
  Listener slow, quick;
  slow.holds = true;
  const auto subscribe = [&](Listener& to, const char* id) {
    return client.register_subscriber<ICounter::IEvent>(&to, id, {{"more", "x"}});
  };
  const auto leave = [&](Listener& listener) {
    return client.unregister_subscriber<ICounter::IEvent>(&listener);
  };
  Listener refused;
  EXPECT_FALSE(leave(slow));
  EXPECT_TRUE(subscribe(refused, "unwelcome"));
  EXPECT_TRUE(client.register_subscriber<ICounter::IOther>(&slow, "other"));
  EXPECT_TRUE(subscribe(slow, ""));
  EXPECT_FALSE(subscribe(slow, "again"));
  EXPECT_TRUE(subscribe(quick, "named"));
  EXPECT_EQ(Await(4), (Told{"+unwelcome", "unknown 2", "+", "+named"})) << "made-up names are hid";
  EXPECT_EQ(target.properties,
            (std::map<std::string, std::string>{{"more", "x"},
                                                {"rpc_interface_id", "1"},
                                                {"rpc_client_id", client.client_id},
                                                {"rpc_subscriber_id", "named"},
                                                {"rpc_subscriber_type", "0"}}));
  ASSERT_EQ(target.observers.size(), 2u);

  for (uint32_t i = 0; i < 20; ++i)
    target.observers[0]->OnCounted(i);
  target.observers[1]->OnCounted(99);  // Does not wait for the other subscriber.
  EXPECT_EQ(quick.heard.await(1), Told{"99"});
  slow.may_leave.Release(20);
  const Told heard = slow.heard.await(20);
  for (size_t i = 0; i < 20; ++i)
    EXPECT_EQ(heard[i], std::to_string(i));

  // The end of a subscription waits for the handler.
  target.observers[0]->OnCounted(20);
  slow.heard.await(1);
  Semaphore begun;
  std::thread leaver([&] {
    begun.Release();
    EXPECT_TRUE(leave(slow));
    EXPECT_FALSE(slow.is_inside);
  });
  begun.Acquire();
  slow.may_leave.Release();
  leaver.join();
  EXPECT_FALSE(leave(slow));
  EXPECT_EQ(Await(1), Told{"-"});
  StopServer();
  ASSERT_EQ(target.observers.size(), 1u);
  target.observers[0]->OnCounted(7);  // Goes nowhere.
}

TEST_F(RpcTest, ClientTellsWhatBecameOfACall) {
  Hand service(far_end, "s");
  service.Announce(kServer);
  const auto answer_with = [&](const Change& fill) {
    service.AnswerWith([&service, fill](message& call) {
      const message_ptr reply = service.Make();
      fill(*reply);
      call.reply(reply.get());
    });
  };
  ASSERT_EQ(client.Init(&near_host), 0);
  came.Acquire();
  answer_with([](message& reply) { reply.set_string(kReturnValue, "0"); });
  EXPECT_EQ(client.Call(1), 5023);

  // What comes with a failure is there; what does not load leaves the status as it is.
  answer_with([](message& reply) {
    reply.set_int(kReturnValue, 170);
    ParameterList data;
    data.AddValue(kParameter, 5);
    data.SaveTo(reply);
  });
  uint32_t number = 0;
  EXPECT_EQ(client.Call(1), 170);
  EXPECT_TRUE(client.output.ReadValue(kParameter, number));
  answer_with([](message& reply) {
    reply.set_int(kReturnValue, 0);
    reply.set_binary(kData, "rubbish", 7);
  });
  EXPECT_EQ(client.Call(1), 0);
  EXPECT_FALSE(client.output.HasTree());

  message_ptr kept;
  service.AnswerWith([&](message& call) { kept = message_ptr::share(&call); });
  EXPECT_EQ(client.Call(1, 1, /*timeout=*/10), 1460);
  service.AnswerWith([](message& call) { EXPECT_EQ(int_field(call, kSerialize), 0); });
  EXPECT_EQ(client.Call(1), 1460) << "nobody answers, which is known at once";
  service.AnswerWith([&](message&) {  // The server goes while it has the call.
    service.Withdraw();
    went.Acquire();
  });
  EXPECT_EQ(client.Call(1), 2250);
}

TEST_F(RpcTest, ClientHandlesEventsThatAreItsOwnAndAnswersWhoWaits) {
  Hand service(far_end, "s");
  service.Announce(kServer);
  const auto make = [&](const CounterClient& to, int32_t serialise, const Change& spoil = {}) {
    message_ptr event = service.Make(kAnsweredEvent);
    event->set_int(kInterfaceNumber, 1);
    event->set_int(kMethodId, kCounted);
    event->set_string(kSubscriberId, "n");
    event->set_string(kClientId, to.client_id.c_str());
    event->set_int(kSubscriberPid, near_pid);
    event->set_int(kSerialize, serialise);
    ParameterList data;
    data.AddValue(kParameter, 7);
    data.SaveTo(*event);
    if (spoil) spoil(*event);
    return event;
  };
  Listener listener;
  ASSERT_EQ(client.Init(&near_host), 0);
  ASSERT_TRUE(client.register_subscriber<ICounter::IEvent>(&listener, "n"));
  const Change spoils[] = {
      [](message& event) { event.set_string(kClientId, "rpc_client_y"); },
      [](message& event) { event.set_string(kSubscriberId, "unknown"); },
      [](message& event) { event.set_int(kInterfaceNumber, 2); },
      [](message& event) { event.set_string(kMethodId, "1"); },
      [](message& event) { event.set_binary(kData, "rubbish", 7); },
  };
  for (const Change& spoil : spoils)
    EXPECT_FALSE(service.Ask(make(client, 1, spoil)));
  const message_ptr handled = service.Ask(make(client, 1));
  ASSERT_TRUE(handled);
  EXPECT_EQ(int_field(*handled, kReturnValue), kCounted);
  ParameterList data;
  uint32_t count = 0;
  EXPECT_TRUE(data.LoadFrom(*handled) && data.ReadValue(kParameter, count));
  EXPECT_EQ(count, 8u);

  // What its queue drops at the end is answered too.
  testing::ManualQueue manual;
  near_host.Add(kGlobalEventQueue, &manual);
  CounterClient ending;
  ASSERT_EQ(ending.Init(&near_host), 0);
  ASSERT_TRUE(ending.register_subscriber<ICounter::IEvent>(&listener, "n"));
  std::future<message_ptr> asked[2];
  for (int32_t serialise : {0, 1}) {
    asked[serialise] = std::async(
        std::launch::async, [&, event = make(ending, serialise)] { return service.Ask(event); });
    manual.added.Acquire();
  }
  ending.UnInit();
  for (auto& each : asked) {
    const message_ptr answer = each.get();
    ASSERT_TRUE(answer);
    EXPECT_EQ(int_field(*answer, kReturnValue), 1223);
  }
  EXPECT_EQ(listener.heard.await(1), Told{"7"});
}

TEST_F(RpcTest, CallsThatHaveNotBegunAreAnsweredAtTheServersEnd) {
  testing::ManualQueue manual;
  far_host.Add(kGlobalEventQueue, &manual);
  ASSERT_EQ(server.Init(&far_host), 0);
  auto call = user.CallAside(1);
  manual.added.Acquire();
  auto serialised = user.CallAside(1, Serialise);
  manual.added.Acquire();
  server.UnInit();
  EXPECT_EQ(call.get(), 1223);
  EXPECT_EQ(serialised.get(), 1223);
  EXPECT_EQ(user.Call(1), std::nullopt);
}

TEST_F(RpcTest, ServerMayHaveItsClientInItsOwnProcess) {
  far_host.Add(kChannelGateway, &near_end);
  ASSERT_EQ(server.Init(&far_host), 0);
  EXPECT_EQ(admin.Call(99), 632);
  EXPECT_EQ(Await(3), (Told{"born", "own real", "died"}));
}

TEST_F(RpcTest, OneWayCallsAreHeldUntilTheServerIsThere) {
  Hand service(far_end, "s");
  tales arrived;
  service.AnswerWith([&](message& call) { arrived.tell(std::to_string(call.get_int(kMethodId))); });
  service.Announce(kServer);
  const std::string name = "Counter";
  delayed_method_holder holder(name);
  holder.init(user.line);
  const auto hold = [&](int32_t method_id) {
    message_ptr call = user.Make(kOneWayCall);
    call->set_int(kMethodId, method_id);
    holder.hold(std::move(call), method_id);
  };
  hold(1);
  holder.set_state(false);
  hold(2);
  holder.set_state(true);
  EXPECT_EQ(arrived.await(2), (Told{"1", "2"}));
  hold(3);
  holder.uninit();
  holder.set_state(true);
}

}  // namespace
}  // namespace messaging::rpc
