#include <gtest/gtest.h>

#include "module/rpc/testing/counter.h"

namespace messaging::rpc {
namespace {

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
  EXPECT_TRUE(subscribe(slow, ""));
  EXPECT_FALSE(subscribe(slow, "again"));
  EXPECT_TRUE(subscribe(quick, "named"));
  EXPECT_EQ(Await(3), (Told{"+unwelcome", "+", "+named"})) << "made-up names are hid";
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
  EXPECT_EQ(quick.heard.Take(1), Told{"99"});
  slow.may_leave.Release(20);
  const Told heard = slow.heard.Take(20);
  for (size_t i = 0; i < 20; ++i)
    EXPECT_EQ(heard[i], std::to_string(i));

  // The end of a subscription waits for the handler.
  target.observers[0]->OnCounted(20);
  slow.heard.Take(1);
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

TEST_F(RpcTest, ClientHandlesEventsThatAreItsOwnAndAnswersWhoWaits) {
  Hand service(far_end, "Counter", "s");
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
  EXPECT_EQ(listener.heard.Take(1), Told{"7"});
}

}  // namespace
}  // namespace messaging::rpc
