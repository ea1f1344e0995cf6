#include "module/rpc/testing/memory_messaging.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <thread>

#include "module/frame/error_codes.h"
#include "module/frame/testing/semaphore.h"
#include "module/rpc/wire.h"

namespace messaging::testing {
namespace {

using rpc::message_ptr;

// One end on the bus, which keeps what it hears.
struct End : channel_observer {
  memory_process& process;
  channel_gateway* const gateway = process.create({.channel = "c"});
  channel* const line = gateway->get_factory()->open_channel("c");
  std::function<void(message*)> on_message = [](message*) {};
  std::mutex mutex;
  std::vector<std::string> heard;
  Semaphore changed;

  End(memory_process& of, const char* id, int32_t type) : process(of) {
    line->get_receiver()->set_callback(
        [](message* received, void* user) { static_cast<End*>(user)->on_message(received); }, this,
        rpc::kReceiverOptions);
    channel_subscriber entry{.pid = 0, .channel = "c", .id = id, .properties = {}};
    entry.properties[rpc::kSubscriberType] = std::to_string(type);
    gateway->add_subscriber(entry);
    gateway->add_observer(this);
  }
  ~End() {
    gateway->remove_observer(this);
    process.destroy(gateway);
  }

  void Add(std::string text) {
    const std::lock_guard lock(mutex);
    heard.push_back(std::move(text));
    changed.Release();
  }
  std::vector<std::string> Take(int count) {
    for (int i = 0; i < count; ++i)
      changed.Acquire();
    const std::lock_guard lock(mutex);
    return std::exchange(heard, {});
  }
  void on_new_subscriber(const std::string&, const channel_subscriber& entry) override {
    Add("+" + entry.id + std::to_string(entry.pid));
  }
  void on_subscriber_removed(const std::string&, const channel_subscriber& entry) override {
    Add("-" + entry.id + std::to_string(entry.pid));
  }
  message_ptr Make(int32_t type) {
    auto made = message_ptr::adopt(gateway->get_factory()->create_message(0));
    made->set_type(type);
    return made;
  }
  // The number in the answer, or -1 for none.
  int32_t Ask(uint32_t timeout = 60000) {
    message* answer = nullptr;
    EXPECT_EQ(line->send(Make(rpc::kMethodCall).get(), &answer, timeout | channel::kMilliseconds),
              0u);
    return answer == nullptr ? -1 : message_ptr::adopt(answer)->get_int("n");
  }
};

using Heard = std::vector<std::string>;

TEST(MemoryMessaging, RequestsReachServersAndReturnWhenNobodyCanAnswerAnyMore) {
  memory_bus bus;
  memory_process& service = bus.start(1);
  End server(service, "s", rpc::kServer);
  End client(bus.start(2), "c", rpc::kClient);
  End bystander(bus.start(3), "b", rpc::kClient);
  bystander.on_message = [](message*) { ADD_FAILURE(); };

  server.on_message = [&](message* received) {
    uint32_t pid = 0;
    EXPECT_TRUE(received->get_property(message::kSenderProcess, &pid));
    auto answer = server.Make(0);
    answer->set_int("n", static_cast<int32_t>(pid));
    received->reply(answer.get());
    received->reply(server.Make(0).get());
  };
  EXPECT_EQ(client.Ask(), 2);
  {  // An end of the same process is asked too, and sees 0 for its own.
    End other(service, "o", rpc::kClient);
    EXPECT_EQ(other.Ask(), 0);
  }
  service.drop_replies(true);
  EXPECT_EQ(client.Ask(/*timeout=*/10), -1);

  // These would last a minute if the send did not notice.
  server.on_message = [](message*) {};
  EXPECT_EQ(client.Ask(), -1);
  message_ptr kept;
  Semaphore arrived;
  server.on_message = [&](message* received) {
    kept = message_ptr::share(received);
    arrived.Release();
  };
  for (const bool ends : {false, true}) {
    auto asked = std::async(std::launch::async, [&] { return client.Ask(); });
    arrived.Acquire();
    if (ends) {
      service.kill();
    } else {
      kept = {};
    }
    EXPECT_EQ(asked.get(), -1);
  }
  EXPECT_EQ(client.Ask(), -1);

  client.process.destroy(client.gateway);
  EXPECT_EQ(client.line->post(client.Make(0).get()), error::kNotConnected);
}

TEST(MemoryMessaging, ObserversSeeWhatIsThereAndEachChange) {
  memory_bus bus;
  memory_process& service = bus.start(1);
  End server(service, "s", rpc::kServer);
  EXPECT_EQ(server.Take(1), Heard{"+s1"});
  End client(bus.start(2), "c", rpc::kClient);
  EXPECT_EQ(client.Take(2), (Heard{"+s1", "+c2"}));
  EXPECT_EQ(server.Take(1), Heard{"+c2"});
  service.disconnect();
  EXPECT_EQ(client.Take(1), Heard{"-s1"});
  EXPECT_EQ(server.Take(1), Heard{"-c2"});
  service.reconnect();
  EXPECT_EQ(client.Take(1), Heard{"+s1"});
  EXPECT_EQ(server.Take(1), Heard{"+c2"});
  service.kill();
  EXPECT_EQ(client.Take(1), Heard{"-s1"});
}

}  // namespace
}  // namespace messaging::testing
