#include "host/plugins/integration/hub.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <optional>

#include "host/plugins/link/connection_loop.h"
#include "host/plugins/link/memory_transport.h"
#include "module/agent/agent_base.h"
#include "module/frame/json.h"
#include "module/frame/testing/semaphore.h"
#include "module/frame/testing/test_folder.h"

namespace host::integration {
namespace {

using EnterpriseIntegration::AgentStatus;
using EnterpriseIntegration::IAgentStatusSink;
using EnterpriseIntegration::IPolicyMethodCall;

class Agent final : public EnterpriseIntegration::AgentBase {
 public:
  Agent() : AgentBase(L"A") {}

  uint32_t GetStatus(uint32_t, IAgentStatusSink* sink) override {
    AgentStatus status;
    GetName(status.name);
    sink->OnStatus(status);
    return 0;
  }
  void RunPolicyMethod(IPolicyMethodCall* call) override { on_call(*call); }
  bool Reserved2() override { return true; }

  std::function<void(IPolicyMethodCall&)> on_call;
};

std::string Policy(int id, const std::string& input = "{}") {
  return R"({"type":"policy","id":)" + std::to_string(id) + R"(,"method":"M")" +
         (input.empty() ? "}" : R"(,"input":)" + input + "}");
}
std::string Reply(int id, int status, const std::string& output = "{}") {
  return R"({"id":)" + std::to_string(id) + R"(,"output":)" + output + R"(,"status":)" +
         std::to_string(status) + R"(,"type":"policyReply"})";
}
std::string Event(int number) {
  return R"({"type":"event","seq":)" + std::to_string(number) + R"(,"name":"E","payload":)" +
         std::to_string(number) + "}";
}
std::string Welcome(int acknowledged) {
  return R"({"type":"welcome","acknowledged":)" + std::to_string(acknowledged) + "}";
}
std::string Ack(int number) {
  return R"({"type":"eventAck","seq":)" + std::to_string(number) + "}";
}

class IntegrationHubTest : public testing::Test {
 protected:
  void Connect() {
    loop_.emplace(L"EndpointIntegration.Manager", server_.Factory(), *hub_, link::LoopLimits{});
    loop_->Start();
    Accept(0);
  }
  void Accept(int acknowledged) {
    const std::string hello = server_.Accept();
    EXPECT_NE(hello.find("\"store\":\"" + store_->id() + "\""), std::string::npos) << hello;
    server_.Send(Welcome(acknowledged));
  }
  void SendEvents(int first, int last) {
    for (int number = first; number <= last; ++number)
      EXPECT_TRUE(hub_->SendEvent(L"E", Json::Value(number)));
  }
  void ExpectEvents(int first, int last) {
    for (int number = first; number <= last; ++number)
      EXPECT_EQ(Take(), Event(number));
  }
  // The agent's next message that tells of no status.
  std::string Take() {
    for (;;) {
      std::string text = server_.Take();
      if (text.find(R"("type":"status")") == std::string::npos) return text;
    }
  }
  void Restart() {
    if (hub_) hub_->Stop();
    loop_.reset();
    hub_.reset();
    store_.reset();
    store_.emplace(folder_ / L"events.db", EventStore::Limits{});
    EXPECT_TRUE(store_->Open());
    hub_.emplace(*store_, "run");
  }
  IntegrationHubTest() { Restart(); }
  ~IntegrationHubTest() override { hub_->Stop(); }

  TestFolder folder_;
  link::MemoryServer server_;
  Agent agent_;
  std::optional<EventStore> store_;
  std::optional<Hub> hub_;
  std::optional<link::ConnectionLoop> loop_;
};

TEST_F(IntegrationHubTest, EachCallIsAnsweredOnceWhateverItsAgentDoes) {
  Connect();
  EXPECT_EQ(server_.Take(), R"({"agents":[],"type":"status"})");
  server_.Send(Policy(1));
  EXPECT_EQ(server_.Take(), Reply(1, 21));
  EXPECT_FALSE(hub_->RegisterAgent(nullptr));
  EXPECT_TRUE(hub_->RegisterAgent(&agent_));
  EXPECT_FALSE(hub_->RegisterAgent(&agent_));
  EXPECT_EQ(server_.Take(), R"({"agents":[{"enabled":false,"name":"A"}],"type":"status"})");

  agent_.on_call = [](IPolicyMethodCall& call) {
    EXPECT_STREQ(call.GetMethodName(), L"M");
    (*call.GetOutput())["in"] = call.GetInput() == nullptr ? Json::Value("none") : *call.GetInput();
    call.Complete(5);
    call.Complete(6);
  };
  server_.Send(Policy(2, ""));
  EXPECT_EQ(server_.Take(), Reply(2, 5, R"({"in":"none"})"));
  const std::string deep = std::string(900, '[') + std::string(900, ']');
  server_.Send(Policy(3, deep));
  EXPECT_EQ(server_.Take(), Reply(3, 5, R"({"in":)" + deep + "}"));

  for (const std::string& hostile :
       {std::string("["), std::string(100'000, '['), std::string("[]"), std::string("{}"),
        std::string(R"({"type":"policy","id":0,"method":"M"})"),
        std::string(R"({"type":"policy","id":1,"method":1})"),
        std::string(R"({"type":"welcome","acknowledged":-1})"),
        std::string(R"({"type":"eventAck","seq":1e300})")}) {
    server_.Send(hostile);
  }
  agent_.on_call = [](IPolicyMethodCall& call) { (*call.GetOutput())["half"] = 1; };
  server_.Send(Policy(4));
  EXPECT_EQ(server_.Take(), Reply(4, 1359));
  agent_.on_call = [](IPolicyMethodCall& call) { throw call.GetInput()->asLargestUInt(); };
  server_.Send(Policy(6, "7"));
  EXPECT_EQ(server_.Take(), Reply(6, 1359));
  agent_.on_call = [](IPolicyMethodCall& call) {
    *call.GetOutput() = std::string(kLongestMessage, 'x');
    call.Complete(0);
  };
  server_.Send(Policy(7));
  EXPECT_EQ(server_.Take(), Reply(7, 8));
}

TEST_F(IntegrationHubTest, EightCallsRunAtOnceSixtyFourWaitAndTheNextIsBusy) {
  Connect();
  EXPECT_TRUE(hub_->RegisterAgent(&agent_));
  Semaphore begun;
  Semaphore go_on;
  agent_.on_call = [&](IPolicyMethodCall& call) {
    begun.Release();
    go_on.Acquire();
    call.Complete(0);
  };
  for (int id = 1; id <= 8; ++id)
    server_.Send(Policy(id));
  for (int id = 1; id <= 8; ++id)
    begun.Acquire();
  for (int id = 9; id <= 73; ++id)
    server_.Send(Policy(id));
  EXPECT_EQ(Take(), Reply(73, 170));
  // A connection that is lost takes its waiting calls and its answers along.
  server_.Disconnect();
  Accept(0);
  server_.Send(Policy(100));
  go_on.Release(9);
  EXPECT_EQ(Take(), Reply(100, 0));

  // Whoever takes an agent away, or closes the intake, waits for its calls.
  server_.Send(Policy(101));
  for (int calls = 0; calls < 2; ++calls)
    begun.Acquire();
  auto closed = std::async(std::launch::async, [&] { hub_->CloseIntake(); });
  auto removed = std::async(std::launch::async, [&] {
    hub_->UnregisterAgent(&agent_);
    agent_.on_call = nullptr;
  });
  go_on.Release();
  EXPECT_EQ(Take(), Reply(101, 0));
  closed.wait();
  removed.wait();
  server_.Send(Policy(102));
  EXPECT_EQ(Take(), Reply(102, 21));
}

TEST_F(IntegrationHubTest, EventsArriveOnceAndInOrderWhoeverWasAwayInBetween) {
  SendEvents(1, 3);
  Connect();
  ExpectEvents(1, 3);
  SendEvents(4, 70);
  // Not more than 64 beyond the last that was acknowledged; what was not sent cannot be.
  ExpectEvents(4, 64);
  server_.Send(R"({"type":"ping"})");
  EXPECT_EQ(Take(), link::kPongText);
  server_.Send(Ack(2));
  ExpectEvents(65, 66);
  server_.Send(Ack(1000));
  ExpectEvents(67, 70);

  server_.Disconnect();
  SendEvents(71, 72);
  Accept(68);
  ExpectEvents(69, 72);
  Restart();
  SendEvents(73, 73);
  Connect();
  // A server that has forgotten everything gets what is left.
  ExpectEvents(69, 73);
  server_.Disconnect();
  Accept(72);
  ExpectEvents(73, 73);
  server_.Send(Ack(73));
  server_.Disconnect();
  Accept(73);
  SendEvents(74, 74);
  ExpectEvents(74, 74);
}

TEST_F(IntegrationHubTest, AnEventThatTheServerWouldRefuseIsNotTaken) {
  const auto taken = [this](const wchar_t* name, size_t length) {
    return hub_->SendEvent(name, std::string(length, 'x'));
  };
  EXPECT_FALSE(taken(nullptr, 1));
  EXPECT_FALSE(taken(L"", 1));
  EXPECT_FALSE(taken(std::wstring(257, L'E').c_str(), 1));
  EXPECT_FALSE(taken(L"E", kLongestMessage - 1000));
  EXPECT_TRUE(taken(std::wstring(256, L'\u00e4').c_str(), kLongestMessage - 3000));
  EXPECT_TRUE(taken(L"\u2028", 1));
  for (const size_t levels : {999, 1000}) {
    Json::Value deep;
    orn::JsonReader().Parse(std::string(levels, '[') + std::string(levels, ']'), deep);
    EXPECT_EQ(hub_->SendEvent(L"E", deep), levels == 999);
  }
  Connect();
  EXPECT_LT(Take().size(), kLongestMessage);
  EXPECT_EQ(Take(), R"({"type":"event","seq":2,"name":"\u2028","payload":"x"})");
}

}  // namespace
}  // namespace host::integration
