#include "module/rpc/testing/memory_messaging.h"

#include <gtest/gtest.h>

#include <future>

#include "module/rpc/testing/channel_end.h"

namespace messaging::testing {
namespace {

using rpc::message_ptr;

TEST(MemoryMessaging, ASendReturnsWhenNobodyCanAnswerAnyMore) {
  memory_bus bus;
  memory_process& service = bus.start(1);
  message_ptr kept;
  Semaphore arrived;
  channel_end server(service, "s", rpc::kServer, [&](message& received) {
    kept = message_ptr::share(&received);
    arrived.Release();
  });
  channel_end client(bus.start(2), "c", rpc::kClient);
  const auto ask = [&] { return static_cast<bool>(client.ask(client.make(rpc::kMethodCall))); };
  for (const bool ends : {false, true}) {
    auto is_answered = std::async(std::launch::async, ask);
    arrived.Acquire();
    if (ends) {
      service.kill();
    } else {
      kept = {};
    }
    EXPECT_FALSE(is_answered.get());
  }
  EXPECT_FALSE(ask());
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
  channel_end client(bus.start(2), "c", rpc::kClient);
  EXPECT_EQ(take(client, 2), "+s1+c2");
  EXPECT_EQ(take(server, 2), "+s1+c2");
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
