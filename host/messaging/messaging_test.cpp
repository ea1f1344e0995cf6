#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "host/messaging/testing/echo_peer.h"
#include "module/feature/testing/call_list.h"
#include "module/frame/error_codes.h"
#include "module/frame/exported_plugin.h"
#include "module/frame/testing/semaphore.h"

namespace host::channels::testing {
namespace {

using Messaging = MessagingTest;
using orn::RemoteAccess::CallList;
using orn::RemoteAccess::Calls;

CHILD_ROLE(Serve) {
  EchoServer server;
  EndWithParent();
}

CHILD_ROLE(ServeToTheEnd) {
  EchoServer server;
  Party& party = server.party();
  while (server.held() == 0)
    std::this_thread::yield();
  party.Withdraw("server");
  party.channel()->close_receiver(party.channel()->get_receiver());
  server.last_held().reply(party.messages()->create_message(0));
  EndWithParent();
}

TEST_F(Messaging, RequestsGoToAnotherProcessAndAnswersComeBack) {
  HubProcess hub;
  Party client;
  Child server("Serve");
  EXPECT_EQ(client.AwaitEntry("server"), server.pid());
  EXPECT_EQ(client.Ask("echo", "hello"), "hello");
  EXPECT_EQ(client.Ask("echo", std::string(3'000'000, 'x')), std::string(3'000'000, 'x'));
  // The sender is whom the operating system names.
  EXPECT_EQ(client.Ask("sender"), std::to_string(GetCurrentProcessId()));
  uint32_t status = 0;
  client.Ask("drop", {}, 60000, &status);
  EXPECT_EQ(status, error::kNotConnected);
  client.Ask("hold", {}, 20, &status);
  EXPECT_EQ(status, error::kTimeout);
  EXPECT_EQ(client.Ask("held"), "1");
  client.Ask("echo", std::string(65 * 1024 * 1024, 'x'), 60000, &status);
  EXPECT_EQ(status, error::kSizeLimit);
  {
    // Many at once, over one connection, some without an end.
    std::vector<std::thread> callers;
    for (int i = 0; i < 12; ++i) {
      callers.emplace_back([&client, i] {
        const std::string own(static_cast<size_t>(i) * 20'000, static_cast<char>('a' + i));
        for (int k = 0; k < 20; ++k) {
          if (i % 4 == 3) {
            client.Ask("hold", own, 1);
          } else {
            EXPECT_EQ(client.Ask("echo", own), own);
          }
        }
      });
    }
    for (std::thread& caller : callers)
      caller.join();
  }
  client.Ask("die", {}, 60000, &status);
  EXPECT_EQ(status, error::kNotConnected);
  client.AwaitNoEntry("server");
  const Child leaving("ServeToTheEnd");
  client.AwaitEntry("server");
  client.Ask("hold", {}, 60000, &status);
  EXPECT_EQ(status, 0u) << "the server takes no more, and answers what it has";
  client.AwaitNoEntry("server");
  client.Ask("echo", {}, 60000, &status);
  EXPECT_EQ(status, error::kNotConnected);
}

TEST_F(Messaging, WithinOneProcessNothingIsNeededButTwoGateways) {
  Party client;
  auto server = std::make_unique<EchoServer>();
  EXPECT_EQ(client.AwaitEntry("server"), static_cast<int32_t>(GetCurrentProcessId()));
  EXPECT_EQ(client.Ask("echo", "near"), "near");
  EXPECT_EQ(client.Ask("sender"), "0");
  uint32_t status = 0;
  client.Ask("drop", {}, 60000, &status);
  EXPECT_EQ(status, error::kNotConnected);
  // Its own requests do not come back to it.
  server->party().Ask("echo", {}, 60000, &status);
  EXPECT_EQ(status, error::kNotConnected);
  server.reset();
  client.AwaitNoEntry("server");
}

TEST_F(Messaging, TheEndOfAGatewayEndsItsCallsAndLeavesItsPartsCallable) {
  HubProcess hub;
  auto server = std::make_unique<EchoServer>();
  Child far_server("Serve");
  Party watcher;
  Party client;
  while (watcher.TimesAdded("server") < 2)
    std::this_thread::yield();
  uint32_t status = 0;
  std::thread caller([&] { client.Ask("hold", {}, 60000, &status); });
  while (server->held() == 0)
    std::this_thread::yield();
  messaging::channel* const channel = client.channel();
  messaging::channel_factory* const messages = client.messages();
  client.End();
  caller.join();
  EXPECT_EQ(status, error::kNotConnected);
  EXPECT_EQ(messages->open_channel(kChannel), channel);
  messaging::message* const message = messages->create_message(0);
  message->set_type(18);
  messaging::message* answer = message;
  EXPECT_EQ(channel->send(message, &answer, 100), error::kNotConnected);
  EXPECT_EQ(answer, nullptr);
  EXPECT_EQ(channel->post(message), error::kNotConnected);
  channel->close_receiver(channel->get_receiver());
  message->release();
}

CHILD_ROLE(FireEvents) {
  EchoServer server;
  const int32_t listener = server.party().AwaitEntry("listener");
  for (int i = 0; i < 300; ++i)
    server.party().PostEvent(listener, std::to_string(i));
  EndWithParent();
}

CHILD_ROLE(FireForgedEvents) {
  Party party;
  party.Announce("forger", "1");
  const int32_t listener = party.AwaitEntry("listener");
  party.PostEvent(listener, "forged");
  party.Announce("forged", "1");
  EndWithParent();
}

TEST_F(Messaging, EventsComeInOrderAndFromServersOnly) {
  HubProcess hub;
  Party listener;
  CallList heard;
  listener.Listen(
      [](messaging::message* received, void* user) {
        static_cast<CallList*>(user)->Add(received->get_string("what"));
      },
      &heard);
  listener.Announce("listener", "0");
  Child forger("FireForgedEvents");
  listener.AwaitEntry("forged");
  Child server("FireEvents");
  const Calls texts = heard.WaitFor(300);
  listener.channel()->close_receiver(listener.channel()->get_receiver());
  for (size_t i = 0; i < texts.size(); ++i)
    EXPECT_EQ(texts[i], std::to_string(i));
}

TEST_F(Messaging, ProcessesFindEachOtherAgainAfterTheHubsRestart) {
  auto hub = std::make_unique<HubProcess>();
  Party client;
  auto server = std::make_unique<Child>("Serve");
  client.AwaitEntry("server");
  uint32_t status = 0;
  std::thread caller([&] { client.Ask("hold", {}, 600000, &status); });
  while (client.Ask("held") != "1")
    std::this_thread::yield();
  hub.reset();
  client.AwaitNoEntry("server");
  // Who started while there was no hub is known to the next one too.
  Party late;
  late.Announce("late", "1");
  hub = std::make_unique<HubProcess>();
  EXPECT_EQ(client.AwaitEntry("server"), server->pid());
  // The call goes on all the while, and so does the connection.
  EXPECT_EQ(client.Ask("held"), "1");
  EXPECT_EQ(client.TimesAdded("late"), 1);
  server->Kill();
  caller.join();
  EXPECT_EQ(status, error::kNotConnected);
  client.AwaitNoEntry("server");
  server = std::make_unique<Child>("Serve");
  EXPECT_EQ(client.AwaitEntry("server"), server->pid());
  EXPECT_EQ(client.Ask("echo", "again"), "again");
}

// Waits in its notifications for as long as the test wants.
class SlowObserver final : public messaging::channel_observer {
 public:
  void on_new_subscriber(const std::string&, const messaging::channel_subscriber&) override {
    gate.Enter();
  }
  void on_subscriber_removed(const std::string&, const messaging::channel_subscriber&) override {}
  Gate gate;
};

TEST_F(Messaging, AnObserverThatWaitsHoldsUpNeitherAnswersNorOthersObservers) {
  HubProcess hub;
  Party client;
  SlowObserver slow;
  Party other;
  client.gateway()->add_observer(&slow);
  Child server("Serve");
  slow.gate.WaitForEntry();
  EXPECT_EQ(other.AwaitEntry("server"), server.pid());
  EXPECT_EQ(client.Ask("echo", "x"), "x");
  other.Withdraw("none");
  slow.gate.Open();
  client.gateway()->remove_observer(&slow);
}

CHILD_ROLE(Flood) {
  Party party;
  party.AwaitEntry("server");
  messaging::message* const request = party.messages()->create_message(0);
  request->set_type(17);
  request->set_string("what", "hold");
  const std::string data(20'000, 'f');
  request->set_binary("data", data.data(), static_cast<uint32_t>(data.size()));
  while (party.channel()->post(request) == 0) {
  }
  party.Announce("full", "1");
  EndWithParent();
}

TEST_F(Messaging, AFloodIsPushedBackAndOthersAreServed) {
  HubProcess hub;
  EchoServer server;
  Child flood("Flood");
  // Its own queue is full before this process's memory is.
  server.party().AwaitEntry("full");
  EXPECT_LE(server.held(), 512);
  while (server.held() == 0)
    std::this_thread::yield();
  EXPECT_EQ(Child("CallOnce").Await(), 0u);
}

CHILD_ROLE(CallOnce) {
  Party party;
  party.Announce("client", "1");
  party.AwaitEntry("server");
  const bool good = party.Ask("echo", "x") == "x";
  if (arguments.size() > 0) party.Ask("hold", {}, 600000);
  return good ? 0 : 1;
}

TEST_F(Messaging, ManyClientsComeGoAndDieInTheMiddleOfCalls) {
  HubProcess hub;
  EchoServer server;
  std::vector<std::unique_ptr<Child>> polite;
  std::vector<std::unique_ptr<Child>> dying;
  for (int i = 0; i < 24; ++i) {
    polite.push_back(std::make_unique<Child>("CallOnce"));
    if (i % 2 == 0) dying.push_back(std::make_unique<Child>("CallOnce die"));
  }
  while (server.held() < static_cast<int>(dying.size()))
    std::this_thread::yield();
  dying.clear();
  for (const auto& child : polite)
    EXPECT_EQ(child->Await(), 0u);
  server.party().AwaitNoEntry("client");
  EXPECT_EQ(server.party().TimesAdded("client"), 36);
}

TEST_F(Messaging, TheLibraryServesWithoutAHost) {
  ExportedPlugin<messaging::channel_gateway_factory, messaging::channel_gateway_factory> factory;
  ASSERT_EQ(factory.Load(L"messaging_tsr.dll", messaging::kChannelGateway), 0u);
  messaging::channel_gateway* const gateway = factory.get()->create({kChannel, 0, 1});
  ASSERT_NE(gateway, nullptr);
  messaging::channel_factory* const messages = gateway->get_factory();
  messaging::message* const message = messages->create_message(0);
  message->set_string("text", "a");
  message->set_string("text", message->get_string("text"));
  EXPECT_STREQ(message->get_string("text"), "a");
  EXPECT_FALSE(message->has_field("text", messaging::message::kBinary));
  uint32_t sender = 1;
  EXPECT_FALSE(message->get_property(messaging::message::kSenderProcess, &sender));
  message->release();
  factory.get()->destroy(gateway);
  factory.Unload();
  // It stays in memory, so what its users still hold fails and does not fall.
  EXPECT_NE(messages->open_channel(kChannel), nullptr);
}

}  // namespace
}  // namespace host::channels::testing
