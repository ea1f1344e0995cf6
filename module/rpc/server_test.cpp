#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <optional>

#include "module/frame/testing/semaphore.h"
#include "module/frame/testing/threaded_event_queue.h"
#include "module/rpc/identity.h"
#include "module/rpc/message_ptr.h"
#include "module/rpc/properties.h"
#include "module/rpc/server_factory.h"
#include "module/rpc/testing/faces_host.h"
#include "module/rpc/testing/memory_messaging.h"
#include "module/rpc/testing/tales.h"
#include "module/rpc/wire.h"

namespace messaging::rpc {
namespace {

using testing::faces_host;
using testing::memory_bus;
using testing::memory_process;
using testing::tales;

constexpr int32_t kNoAnswer = -1;
constexpr uint32_t kParameter = 0x0101;

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
  virtual void Register(IEvent* observer) = 0;
  virtual void Unregister(IEvent* observer) = 0;

 protected:
  ~ICounter() = default;
};

}  // namespace

template <>
inline constexpr const char* module_name<ICounter> = "Counter";

namespace {

struct Counter final : IOrnBaseInterface, ICounter {
  std::atomic<uint32_t> count{0};
  std::vector<IEvent*> observers;
  // A count by 0 announces itself and waits.
  Semaphore begun;
  Semaphore go_on;

  void* GetInterface(const InterfaceId& id) override {
    return id == ICounter::kInterfaceId ? static_cast<ICounter*>(this) : nullptr;
  }
  uint32_t Count(uint32_t by) override {
    if (by == 0) {
      begun.Release();
      go_on.Acquire();
    }
    return count += by;
  }
  void Register(IEvent* observer) override { observers.push_back(observer); }
  void Unregister(IEvent* observer) override { std::erase(observers, observer); }
};

struct CounterSubscriber final : server_subscriber, ICounter::IEvent {
  void OnCounted(uint32_t count) override {
    ParameterList event;
    event.AddValue(kParameter, count);
    send_event(/*method_id=*/7, event);
  }
};

tales* told = nullptr;  // What the servers of a test tell.

// 1: anybody may count; 2: administrators may; interface 1 is that of the events.
struct CounterServer final : server<ICounter> {
  CounterServer() {
    register_method(1, &CounterServer::Count);
    register_method(1, &CounterServer::Count, /*admin_required=*/false);
    register_method(2, &CounterServer::Count);
    register_callbacks(1, &CounterServer::Add, &CounterServer::Remove);
  }
  int32_t on_created() override {
    told->tell("born");
    return 0;
  }
  void on_destroyed() override { told->tell("died"); }
  void on_unknown_subscriber_added(int32_t interface_id, const channel_subscriber&) override {
    told->tell("unknown " + std::to_string(interface_id));
  }
  int32_t on_unknown_method(int32_t method_id, method_info& info) override {
    told->tell(info.caller->path + (info.impersonated ? " claimed" : " real"));
    return server::on_unknown_method(method_id, info);
  }
  int32_t Count(const ParameterList& input, ParameterList& output) {
    uint32_t by = 0;
    if (!input.ReadValue(kParameter, by)) return 87;
    return output.AddValue(kParameter, (*target)->Count(by)) ? 0 : 1627;
  }
  bool Add(CounterSubscriber* subscriber, const channel_subscriber& entry) {
    told->tell("+" + entry.id);
    if (entry.id != "unwelcome") (*target)->Register(subscriber);
    return entry.id != "unwelcome";
  }
  bool Remove(CounterSubscriber* subscriber, const channel_subscriber& entry) {
    told->tell("-" + entry.id);
    (*target)->Unregister(subscriber);
    return false;
  }
};

struct Processes final : IOrnBaseInterface, process_info_raw, process_info_shared {
  bool has_shared = true;
  std::map<int32_t, process_info> known;

  void* GetInterface(const InterfaceId& id) override {
    if (id == process_info_raw::kInterfaceId) return static_cast<process_info_raw*>(this);
    return has_shared ? static_cast<process_info_shared*>(this) : nullptr;
  }
  void get(int32_t pid, process_record& record) override {
    record = {.pid = pid, .path = known[pid].path, .admin = known[pid].admin};
  }
  std::shared_ptr<process_info> get(int32_t pid) override {
    return std::make_shared<process_info>(known[pid]);
  }
};

using Change = std::function<void(message&)>;

// A client on the bare channel: it may say what it likes.
struct Client {
  memory_process& process;
  const std::string id;
  channel_gateway* const gateway = process.create({.channel = "TsrComm.Counter"});
  channel* const line = gateway->get_factory()->open_channel("");
  tales events;

  Client(memory_process& of, std::string name) : process(of), id(std::move(name)) {
    line->get_receiver()->set_callback(
        [](message* event, void* user) { static_cast<Client*>(user)->Keep(*event); }, this, 0);
  }
  ~Client() { process.destroy(gateway); }

  channel_subscriber Entry(int32_t type, const char* subscriber, int32_t interface_id) const {
    channel_subscriber entry{.pid = 0, .channel = "TsrComm.Counter", .id = id, .properties = {}};
    write_int_property(entry, kSubscriberType, type);
    entry.properties[kClientId] = id;
    if (type != kEventSubscriber) return entry;
    entry.id = subscriber;
    entry.properties[kSubscriberId] = subscriber;
    write_int_property(entry, kInterfaceNumber, interface_id);
    return entry;
  }
  void Announce(int32_t type = kClient, const char* subscriber = "", int32_t interface_id = 1) {
    gateway->add_subscriber(Entry(type, subscriber, interface_id));
  }
  void Withdraw() { gateway->remove_subscriber(Entry(kClient, "", 0)); }

  // The status, or kNoAnswer.
  int32_t Call(int32_t method, uint32_t by = 1, const Change& change = {}) const {
    const auto call = message_ptr::adopt(gateway->get_factory()->create_message(0));
    call->set_type(kMethodCall);
    call->set_int(kMethodId, method);
    call->set_string(kClientId, id.c_str());
    ParameterList input;
    input.AddValue(kParameter, by);
    input.SaveTo(*call);
    if (change) change(*call);
    message* reply = nullptr;
    line->send(call.get(), &reply, 60000 | channel::kMilliseconds);
    const auto answer = message_ptr::adopt(reply);
    if (!answer) return kNoAnswer;
    ParameterList output;
    uint32_t count = 0;
    EXPECT_TRUE(output.LoadFrom(*answer));
    EXPECT_EQ(output.ReadValue(kParameter, count), answer->get_int(kReturnValue) == 0);
    return answer->get_int(kReturnValue);
  }
  std::future<int32_t> CallAside(uint32_t by, const Change& change = {}) const {
    return std::async(std::launch::async, [this, by, change] { return Call(1, by, change); });
  }

  void Keep(const message& event) {
    ParameterList parameters;
    uint32_t count = 0;
    EXPECT_TRUE(parameters.LoadFrom(event) && parameters.ReadValue(kParameter, count));
    EXPECT_EQ(event.get_string(kClientId), id);
    events.tell(event.get_string(kSubscriberId) + std::to_string(count) +
                std::to_string(event.get_int(kInterfaceNumber)) +
                std::to_string(event.get_int(kMethodId)) +
                std::to_string(event.get_int(kSerialize)));
  }
};

// A claim to call for another process.
Change Claim(std::optional<int32_t> admin) {
  return [admin](message& call) {
    call.set_int(kImpersonatedPid, 77);
    call.set_string(kImpersonatedPath, "other");
    if (admin) call.set_int(kImpersonatedAdmin, *admin);
  };
}

class RpcServer : public ::testing::Test {
 protected:
  static constexpr int32_t kAdmin = 1, kUser = 2, kTrusted = 3, kService = 10;

  RpcServer() {
    told = &tales_;
    processes_.known = {{kAdmin, {.pid = kAdmin, .path = "admin", .admin = true, .kind = 0}},
                        {kUser, {.pid = kUser, .path = "user", .admin = false, .kind = 0}},
                        {kTrusted, {.pid = kTrusted, .path = "", .admin = false, .kind = 1}}};
    host_.put(L"Counter", static_cast<IOrnBaseInterface*>(&counter_));
    host_.put(kProcessInfoDb, static_cast<IOrnBaseInterface*>(&processes_));
    host_.put(kGlobalEventQueue, static_cast<IEventQueue*>(&queue_));
    host_.put(kChannelGateway, static_cast<channel_gateway_factory*>(&service_));
  }
  ~RpcServer() override { factory_.UnInit(); }

  memory_bus bus_;
  memory_process& service_ = bus_.start(kService);
  memory_process& admin_process_ = bus_.start(kAdmin);
  memory_process& user_process_ = bus_.start(kUser);
  tales tales_;
  Counter counter_;
  Processes processes_;
  ThreadedEventQueue queue_{4};
  faces_host host_;
  server_factory<CounterServer> factory_;
  Client admin_{admin_process_, "a"};
  Client user_{user_process_, "u"};
};

TEST_F(RpcServer, NeedsAllItsPlugInsAndGivesThemBack) {
  EXPECT_EQ(factory_.Init(nullptr), 87);
  for (const auto* name : {kGlobalEventQueue, kProcessInfoDb, kChannelGateway}) {
    void* const face = host_.replace(name, nullptr);
    EXPECT_EQ(factory_.Init(&host_), 5002);
    EXPECT_EQ(host_.references(), 0);
    host_.replace(name, face);
  }
  void* const counter = host_.replace(L"Counter", static_cast<IOrnBaseInterface*>(&queue_));
  EXPECT_EQ(factory_.Init(&host_), 1168);
  host_.replace(L"Counter", counter);
  EXPECT_EQ(factory_.Init(&host_), 0);
  factory_.UnInit();
  EXPECT_EQ(host_.references(), 0);
}

TEST_F(RpcServer, AnswersByWhatTheCallerMayDo) {
  for (const bool shared : {true, false}) {
    processes_.has_shared = shared;
    ASSERT_EQ(factory_.Init(&host_), 0);
    EXPECT_EQ(admin_.Call(1) + admin_.Call(2), 0);
    EXPECT_EQ(admin_.Call(99), 632);
    EXPECT_EQ(user_.Call(1), 0);
    EXPECT_EQ(user_.Call(2), 5);
    EXPECT_EQ(user_.Call(99), 5);
    factory_.UnInit();
  }
  EXPECT_EQ(counter_.count, 6u);
}

TEST_F(RpcServer, BelievesClaimsOfTheEntitledOnly) {
  ASSERT_EQ(factory_.Init(&host_), 0);
  Client trusted(bus_.start(kTrusted), "t");
  trusted.Announce();
  admin_.Announce();
  tales_.await(2);
  EXPECT_EQ(user_.Call(2, 1, Claim(1)), 5) << "forged";
  EXPECT_EQ(admin_.Call(2, 1, Claim(0)), 5) << "lowers rights";
  EXPECT_EQ(admin_.Call(99, 1, Claim(2)), 5) << "2 is no administrator";
  EXPECT_EQ(trusted.Call(2), 5);
  EXPECT_EQ(trusted.Call(2, 1, Claim(1)), 0);
  EXPECT_EQ(tales_.await(2), (std::vector<std::string>{"born", "died"})) << "the forger's server";
  EXPECT_EQ(admin_.Call(99, 1, Claim(1)), 632);
  EXPECT_EQ(admin_.Call(99, 1, Claim(std::nullopt)), 632) << "no claim";
  EXPECT_EQ(tales_.await(2), (std::vector<std::string>{"other claimed", "admin real"}));
}

TEST_F(RpcServer, TurnsDownMessagesThatLackSomething) {
  ASSERT_EQ(factory_.Init(&host_), 0);
  EXPECT_EQ(admin_.Call(1, 1, [](message& call) { call.set_binary(kData, "rubbish", 7); }), 87);
  EXPECT_EQ(admin_.Call(1, 1, [](message& call) { call.set_string(kMethodId, "1"); }), 87);
  EXPECT_EQ(admin_.Call(1, 1, [](message& call) { call.set_int(kClientId, 1); }), kNoAnswer);
  EXPECT_EQ(admin_.Call(1, 1, [](message& call) { call.set_type(kOneWayCall); }), kNoAnswer);
  EXPECT_EQ(counter_.count, 1u) << "the one-way call was served";
}

TEST_F(RpcServer, KeepsAServerForAsLongAsItsClientIsThere) {
  const std::vector<std::string> life{"born", "died"};
  ASSERT_EQ(factory_.Init(&host_), 0);
  EXPECT_EQ(user_.Call(1), 0) << "ahead of its entry";
  EXPECT_EQ(tales_.await(2), life);

  user_.Announce();
  tales_.await(1);
  auto call = user_.CallAside(0);
  counter_.begun.Acquire();
  user_process_.kill();
  EXPECT_EQ(call.get(), kNoAnswer);
  counter_.go_on.Release();
  EXPECT_EQ(tales_.await(1), std::vector<std::string>{"died"}) << "once its call had ended";

  Client heir(bus_.start(kUser), "u");
  heir.Announce(kServer);
  heir.Announce();
  heir.Announce(kEventSubscriber, "");
  EXPECT_EQ(tales_.await(2), (std::vector<std::string>{"born", "+"}));
  EXPECT_EQ(heir.Call(1), 0);
  heir.Withdraw();
  EXPECT_EQ(heir.Call(1), 0);
  heir.gateway->remove_subscriber(heir.Entry(kEventSubscriber, "", 1));
  EXPECT_EQ(tales_.await(2), (std::vector<std::string>{"-", "died"}));
}

TEST_F(RpcServer, ASlowMethodStopsNoOtherCall) {
  ASSERT_EQ(factory_.Init(&host_), 0);
  user_.Announce();
  admin_.Announce();
  tales_.await(2);
  auto slow = user_.CallAside(0);
  counter_.begun.Acquire();
  EXPECT_EQ(user_.Call(1) + admin_.Call(1), 0);

  const auto serialised = [](message& call) { call.set_int(kSerialize, 1); };
  auto first = admin_.CallAside(0, serialised);
  counter_.begun.Acquire();
  std::promise<void> sent;
  auto second = admin_.CallAside(1, [&](message& call) {
    serialised(call);
    sent.set_value();
  });
  sent.get_future().get();
  EXPECT_EQ(user_.Call(1, 1, serialised), 0) << "the calls of one client wait for each other";
  EXPECT_EQ(counter_.count, 3u);
  counter_.go_on.Release(2);
  EXPECT_EQ(slow.get() + first.get() + second.get(), 0);
  EXPECT_EQ(counter_.count, 4u);
}

TEST_F(RpcServer, EventsReachTheirSubscriberOnly) {
  ASSERT_EQ(factory_.Init(&host_), 0);
  user_.Announce(kEventSubscriber, "rpc_subscriber_anon_x");
  EXPECT_EQ(tales_.await(2).back(), "+") << "a name that was made up is not shown";
  admin_.Announce(kEventSubscriber, "named");
  admin_.Announce(kEventSubscriber, "unwelcome");
  admin_.Announce(kEventSubscriber, "other", /*interface_id=*/2);
  EXPECT_EQ(tales_.await(4),
            (std::vector<std::string>{"born", "+named", "+unwelcome", "unknown 2"}));
  ASSERT_EQ(counter_.observers.size(), 2u);
  for (const auto* count : {"5", "6"}) {
    for (auto* const observer : counter_.observers)
      observer->OnCounted(static_cast<uint32_t>(*count - '0'));
    EXPECT_EQ(user_.events.await(1)[0], "rpc_subscriber_anon_x" + std::string(count) + "171");
    EXPECT_EQ(admin_.events.await(1)[0], "named" + std::string(count) + "171");
  }
  admin_process_.kill();
  EXPECT_EQ(tales_.await(2), (std::vector<std::string>{"-named", "died"}));
  factory_.UnInit();
  ASSERT_EQ(counter_.observers.size(), 1u);
  counter_.observers[0]->OnCounted(7);  // Goes nowhere.
}

TEST_F(RpcServer, CallsThatHaveNotBegunAreAnsweredAtItsEnd) {
  ASSERT_EQ(factory_.Init(&host_), 0);
  queue_.Hold(true);
  auto call = user_.CallAside(1);
  auto serialised = user_.CallAside(1, [](message& sent) { sent.set_int(kSerialize, 1); });
  queue_.AwaitQueued(2);
  factory_.UnInit();
  EXPECT_EQ(call.get(), 1223);
  EXPECT_EQ(serialised.get(), 1223);
  EXPECT_EQ(user_.Call(1), kNoAnswer);
}

TEST_F(RpcServer, MayHaveItsClientInItsOwnProcess) {
  const auto own = static_cast<int32_t>(current_process_id());
  processes_.known[own] = {.pid = own, .path = "own", .admin = true, .kind = 0};
  memory_process& process = bus_.start(own);
  host_.put(kChannelGateway, static_cast<channel_gateway_factory*>(&process));
  ASSERT_EQ(factory_.Init(&host_), 0);
  Client client(process, "c");
  client.Announce();
  tales_.await(1);
  EXPECT_EQ(client.Call(99), 632);
  client.Withdraw();
  EXPECT_EQ(tales_.await(2), (std::vector<std::string>{"own real", "died"}));
}

}  // namespace
}  // namespace messaging::rpc
