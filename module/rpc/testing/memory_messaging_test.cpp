#include "module/rpc/testing/memory_messaging.h"

#include <gtest/gtest.h>

#include <future>

#include "module/frame/error_codes.h"
#include "module/rpc/testing/channel_end.h"

namespace messaging::testing {
namespace {

using rpc::message_ptr;

int32_t Ask(channel_end& end, uint32_t timeout = 60000) {
  const message_ptr answer = end.ask(end.make(rpc::kMethodCall), timeout);
  return answer ? answer->get_int("n") : -1;
}

TEST(MemoryMessaging, RequestsReachServersAndReturnWhenNobodyCanAnswerAnyMore) {
  memory_bus bus;
  memory_process& service = bus.start(1);
  channel_end server(service, "s", rpc::kServer);
  channel_end client(bus.start(2), "c", rpc::kClient);
  channel_end bystander(bus.start(3), "b", rpc::kClient);
  bystander.on_message = [](message*) { ADD_FAILURE(); };

  server.on_message = [&](message* received) {
    uint32_t pid = 0;
    EXPECT_TRUE(received->get_property(message::kSenderProcess, &pid));
    const message_ptr answer = server.make();
    answer->set_int("n", static_cast<int32_t>(pid));
    received->reply(answer.get());
    received->reply(server.make().get());
  };
  EXPECT_EQ(Ask(client), 2);
  {  // An end of the same process is served too; its process id reads as 0.
    channel_end other(service, "o", rpc::kClient);
    EXPECT_EQ(Ask(other), 0);
  }
  service.drop_replies(true);
  EXPECT_EQ(Ask(client, /*timeout=*/10), -1);

  // These would last a minute if the send did not notice.
  server.on_message = [](message*) {};
  EXPECT_EQ(Ask(client), -1);
  message_ptr kept;
  Semaphore arrived;
  server.on_message = [&](message* received) {
    kept = message_ptr::share(received);
    arrived.Release();
  };
  for (const bool ends : {false, true}) {
    auto asked = std::async(std::launch::async, [&] { return Ask(client); });
    arrived.Acquire();
    if (ends) {
      service.kill();
    } else {
      kept = {};
    }
    EXPECT_EQ(asked.get(), -1);
  }
  EXPECT_EQ(Ask(client), -1);

  client.process().kill();
  EXPECT_EQ(client.line().post(client.make().get()), error::kNotConnected);
}

TEST(MemoryMessaging, ObserversSeeWhatIsThereAndEachChange) {
  const auto take = [](channel_end& end, size_t count) {
    std::string text;
    for (const auto& heard : end.take(count))
      text += heard.what + heard.entry.id + std::to_string(heard.entry.pid);
    return text;
  };
  memory_bus bus;
  memory_process& service = bus.start(1);
  channel_end server(service, "s", rpc::kServer);
  EXPECT_EQ(take(server, 1), "+s1");
  channel_end client(bus.start(2), "c", rpc::kClient);
  EXPECT_EQ(take(client, 2), "+s1+c2");
  EXPECT_EQ(take(server, 1), "+c2");
  service.disconnect();
  EXPECT_EQ(take(client, 1), "-s1");
  EXPECT_EQ(take(server, 1), "-c2");
  service.reconnect();
  EXPECT_EQ(take(client, 1), "+s1");
  EXPECT_EQ(take(server, 1), "+c2");
  service.kill();
  EXPECT_EQ(take(client, 1), "-s1");
}

}  // namespace
}  // namespace messaging::testing
