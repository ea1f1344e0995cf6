#include <gtest/gtest.h>

#include "module/rpc/testing/counter.h"

namespace messaging::rpc {
namespace {

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
  user.gateway->add_subscriber(user.Entry(kEventSubscriber, "other", /*interface=*/2));
  EXPECT_EQ(Await(3), (Told{"born", "+s", "unknown 2"}));
  for (const auto& entry : {user.Entry(kClient), user.Entry(kEventSubscriber, "other", 2),
                            user.Entry(kEventSubscriber, "s")})
    user.gateway->remove_subscriber(entry);
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

TEST_F(RpcTest, ClientTellsWhatBecameOfACall) {
  Hand service(far_end, "Counter", "s");
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
  Hand service(far_end, "Counter", "s");
  CallList arrived;
  service.AnswerWith([&](message& call) { arrived.Add(std::to_string(call.get_int(kMethodId))); });
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
  EXPECT_EQ(arrived.Take(2), (Told{"1", "2"}));
  hold(3);
  holder.uninit();
  holder.set_state(true);
}

}  // namespace
}  // namespace messaging::rpc
