#include "host/plugins/connector/hub.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <stdexcept>
#include <tuple>

#include "host/plugins/link/connection_loop.h"
#include "host/plugins/link/memory_transport.h"
#include "module/feature/testing/call_list.h"
#include "module/frame/testing/semaphore.h"

namespace host::connector {
namespace {

using namespace std::chrono_literals;
using VeldConnector::Stream::IConnection;

constexpr char kStopText[] = R"({"type":"streamStop"})";

// A user of the connector that takes the module "M": the method names an action of the test's.
class User final : public orn::RemoteAccess::CallList,
                   public VeldConnector::ISocketConnection,
                   public VeldConnector::Rpc::IController,
                   public IConnection::IMessageHandler {
 public:
  void OnConnect() override { Add("connect"); }
  void OnDisconnect() override {
    if (on_disconnect) on_disconnect();
    Add("disconnect");
  }
  void OnReserved() override {}
  uint32_t OnRpcMethod(const VeldConnector::Rpc::Request& request,
                       VeldConnector::Rpc::Reply& reply) override {
    if (on_call) on_call(request);
    reply.code = 5;
    reply.text = request.id + request.parameters;
    Add("called " + request.method);
    return 0;
  }
  std::vector<std::string> GetRpcModules() override { return {"M"}; }
  void OnMessage(const std::string& text) override {
    if (on_message) on_message();
    Add(text);
  }

  std::function<void(const VeldConnector::Rpc::Request&)> on_call;
  std::function<void()> on_message;
  std::function<void()> on_disconnect;
};

std::string Rpc(int id, const std::string& method, const std::string& module = "M") {
  return R"({"type":"rpc","id":)" + std::to_string(id) + R"(,"module":")" + module +
         R"(","method":")" + method + R"(","params":"p"})";
}
std::string Open(const std::string& stream) {
  return R"({"type":"streamOpen","stream":")" + stream + "\"}";
}
std::string Inward(const std::string& stream, const std::string& type) {
  return R"({"type":"stream","stream":")" + stream + R"(","text":"{\"type\":\")" + type +
         R"(\"}"})";
}

class HubTest : public testing::Test {
 protected:
  using Events = orn::RemoteAccess::Calls;

  void Connect(const link::LoopLimits& limits = {}) {
    manager_ = hub_.CreateSocketManager(&user_);
    EXPECT_EQ(manager_->RegisterController(&user_), 0u);
    loop_ =
        std::make_unique<link::ConnectionLoop>(L"VeldConnector", server_.Factory(), hub_, limits);
    loop_->Start();
    EXPECT_EQ(server_.Accept(), HelloMessage(true));
    EXPECT_EQ(user_.WaitFor(1), Events{"connect"});
  }
  // The stream `id`, as a call would open it.
  IConnection* Claim(const std::string& id) {
    IConnection* const stream = manager_->GetStream(id);
    stream->SetMessageHandler(&user_);
    return stream;
  }
  ~HubTest() override {
    hub_.CloseIntake();
    if (manager_ != nullptr) hub_.DeleteSocketManager(manager_);
    if (loop_ != nullptr) loop_->Stop();
  }

  link::MemoryServer server_;
  User user_;
  std::atomic<bool> enabled_ = true;
  Hub hub_{StreamLimits{}, [this] { return enabled_.load(); }};
  std::unique_ptr<link::ConnectionLoop> loop_;
  VeldConnector::ISocketManager* manager_ = nullptr;
};

TEST_F(HubTest, CallsAreAnsweredAndNothingThatTheServerSendsEndsTheConnection) {
  Connect();
  server_.Send("no json");
  server_.Send(std::string(100'000, '['));
  server_.Send(Inward("unknown", "data"));
  server_.Send(Rpc(1, "F"));
  EXPECT_EQ(server_.Take(), RpcReplyMessage(1, 0, 5, "1p"));
  server_.Send(Rpc(2, "F", "m"));
  EXPECT_EQ(server_.Take(), RpcReplyMessage(2, 3, 0, ""));
  user_.on_call = [](const auto&) { throw std::runtime_error("broken"); };
  server_.Send(Rpc(3, "F"));
  EXPECT_EQ(server_.Take(), RpcReplyMessage(3, 1359, 0, ""));
  server_.Send(R"({"type":"ping"})");
  EXPECT_EQ(server_.Take(), link::kPongText);
  hub_.OnSwitchStored();
  EXPECT_EQ(server_.Take(), StateMessage(true));
  EXPECT_TRUE(hub_.TrySendEvent("E", Json::Value(1)));
  EXPECT_EQ(server_.Take(), EventMessage(1, "E", Json::Value(1)));
}

TEST_F(HubTest, CallsRunOneAtATimeAndOneBeyondSixtyFourWaitingIsBusy) {
  Connect();
  Gate gate;
  std::atomic<int> running = 0;
  std::atomic<int> calls = 0;
  user_.on_call = [&](const auto&) {
    EXPECT_EQ(++running, 1);
    if (++calls == 1) gate.Enter();
    --running;
  };
  server_.Send(Rpc(1, "F"));
  gate.WaitForEntry();
  for (int id = 2; id <= 66; ++id)
    server_.Send(Rpc(id, "F"));
  EXPECT_EQ(server_.Take(), RpcReplyMessage(66, 170, 0, ""));
  gate.Open();
  for (int id = 1; id <= 65; ++id) {
    EXPECT_EQ(server_.Take(), RpcReplyMessage(id, 0, 5, std::to_string(id) + "p"));
  }
}

TEST_F(HubTest, MessagesOfAStreamBeginAfterTheCallThatOpenedIt) {
  Connect();
  IConnection* stream = nullptr;
  Gate gate;
  user_.on_call = [&](const auto&) {
    stream = Claim("s");
    EXPECT_EQ(stream->Send({"data", "early"}, 10), 0u);
    gate.Enter();
  };
  server_.Send(Open("s"));
  server_.Send(Inward("s", "data"));
  server_.Send(Rpc(1, "F"));
  gate.WaitForEntry();
  server_.Send(Inward("s", "streamStop"));
  EXPECT_EQ(server_.Take(), StreamMessage("s", "data", "early"));
  gate.Open();
  EXPECT_EQ(server_.Take(), RpcReplyMessage(1, 0, 5, "1p"));
  EXPECT_EQ(user_.WaitFor(4), (Events{"connect", "called F", R"({"type":"data"})", kStopText}));
  manager_->DestroyStream(stream);
  EXPECT_EQ(server_.Take(), StreamClosedMessage("s", "destroyed"));
}

TEST_F(HubTest, AStreamCanBeHadBeforeTheServerOpensIt) {
  Connect();
  EXPECT_EQ(manager_->GetStream(""), nullptr);
  IConnection* const stream = Claim("s");
  server_.Send(Open("s"));
  server_.Send(Inward("s", "data"));
  EXPECT_EQ(user_.WaitFor(2).back(), R"({"type":"data"})");
  // An id that the protocol has no room for gives a stream that ends at once.
  EXPECT_NE(Claim(std::string(300, 'x'))->Send({"data", ""}, 10), 0u);
  EXPECT_EQ(user_.WaitFor(3).back(), kStreamErrorText);
  EXPECT_EQ(stream->Send({"data", "1"}, 10), 0u);
  EXPECT_EQ(server_.Take(), StreamMessage("s", "data", "1"));
  // The server's word that the stream is of no use.
  server_.Send(R"({"type":"streamClose","stream":"s"})");
  EXPECT_EQ(user_.WaitFor(4).back(), kStreamErrorText);
  server_.Send(Open("t"));
  server_.Send(R"({"type":"streamClose","stream":"t"})");
  EXPECT_EQ(server_.Take(), StreamClosedMessage("t", "unused"));
}

TEST_F(HubTest, AStreamThatIsAskedForAgainIsHadWhenTheEarlierOneIsDestroyed) {
  Connect();
  IConnection* first = Claim("s");
  const auto claim_and_send = [this](const std::string& id) {
    return std::async(std::launch::async, [this, id] {
      IConnection* const stream = Claim(id);
      return std::make_pair(stream, stream->Send({"data", "again"}, 10));
    });
  };
  // Users take ids for equal that differ behind a zero byte only.
  for (const std::string& id : {std::string("s\0t", 3), std::string("s")}) {
    auto again = claim_and_send(id);
    EXPECT_EQ(first->Send({"streamStop", "{}"}, 10), 0u);
    manager_->DestroyStream(first);
    EXPECT_NE(server_.Take().find("streamStop"), std::string::npos);
    EXPECT_NE(server_.Take().find("destroyed"), std::string::npos);
    EXPECT_EQ(server_.Take(), StreamMessage(id, "data", "again"));
    uint32_t result = 1;
    std::tie(first, result) = again.get();
    EXPECT_EQ(result, 0u);
  }
  // A connection that is lost meanwhile ends the earlier session, and with it the wait.
  user_.on_disconnect = [&] { manager_->DestroyStream(first); };
  auto late = claim_and_send("s");
  server_.Disconnect();
  late.wait();
}

TEST_F(HubTest, ALostConnectionIsToldAfterRunningMessagesAndBeforeTheNextConnection) {
  Connect();
  IConnection* const stream = Claim("s");
  Gate message;
  Gate end;
  user_.on_message = [&] { message.Enter(); };
  user_.on_disconnect = [&] { end.Enter(); };
  server_.Send(Inward("s", "data"));
  server_.Send(Inward("s", "streamStop"));
  message.WaitForEntry();
  server_.Disconnect();
  uint32_t result = 0;
  while (result == 0)
    result = stream->Send({"data", std::string(1000, 'x')}, 10);
  EXPECT_TRUE(result != 8 && result != 9) << result;
  message.Open();
  end.WaitForEntry();
  EXPECT_EQ(user_.WaitFor(2), (Events{"connect", R"({"type":"data"})"}));
  manager_->DestroyStream(stream);
  user_.on_message = nullptr;
  end.Open();
  EXPECT_EQ(server_.Accept(), HelloMessage(true));
  EXPECT_EQ(user_.WaitFor(4), (Events{"connect", R"({"type":"data"})", "disconnect", "connect"}));
}

TEST_F(HubTest, AStreamWhoseOpeningCallOutlivesTheConnectionGetsOneErrorAfterTheEndWasTold) {
  Connect();
  Gate call;
  Gate end;
  user_.on_call = [&](const auto&) {
    Claim("before");
    call.Enter();
    Claim("after");
  };
  user_.on_disconnect = [&] { end.Enter(); };
  server_.Send(Rpc(1, "F"));
  call.WaitForEntry();
  server_.Disconnect();
  end.WaitForEntry();
  call.Open();
  EXPECT_EQ(user_.WaitFor(2), (Events{"connect", "called F"}));
  end.Open();
  Events events = user_.WaitFor(5);
  EXPECT_EQ(events[2], "disconnect");
  EXPECT_EQ(std::count(events.begin(), events.end(), kStreamErrorText), 2);
}

// Both lost at once, these would ask for their ends while the feature holds the lock of all
// sessions.
TEST_F(HubTest, StalledSessionsNeitherHoldUpTheSwitchNorAskForTheirEnd) {
  Connect();
  std::vector<IConnection*> streams;
  std::vector<std::future<uint32_t>> stalled;
  for (const char* id : {"a", "b"}) {
    streams.push_back(Claim(id));
    EXPECT_EQ(streams.back()->Send({"data", std::string(256 * 1024, 'x')}, 10), 0u);
    stalled.push_back(std::async(
        std::launch::async, [stream = streams.back()] { return stream->Send({"data", "x"}, 10); }));
  }
  hub_.OnSwitchStored();  // On as before.
  EXPECT_EQ(stalled[0].wait_for(0ms), std::future_status::timeout);
  enabled_ = false;
  hub_.OnSwitchStored();
  for (auto& send : stalled)
    EXPECT_EQ(send.get(), 0u);
  server_.Send(Inward("a", "streamStop"));
  server_.Send(R"({"type":"streamClose","stream":"b"})");
  server_.Send(Rpc(1, "F"));
  EXPECT_EQ(user_.WaitFor(2), (Events{"connect", "called F"}));
  for (IConnection* const stream : streams) {
    EXPECT_EQ(stream->Send({"streamStop", "{}"}, 10), 0u);
    manager_->DestroyStream(stream);
  }
  EXPECT_EQ(user_.WaitFor(0).size(), 2u);
}

TEST_F(HubTest, AServerThatIsSilentIsAskedAndThenGivenUp) {
  Connect({.ping = 1ms, .give_up = 50ms});
  EXPECT_EQ(server_.Take(), link::kPingText);
  EXPECT_EQ(user_.WaitFor(2), (Events{"connect", "disconnect"}));
  EXPECT_EQ(server_.Accept(), HelloMessage(true));
}

TEST_F(HubTest, AServerThatReadsNoAnswersIsGivenUp) {
  Connect({.outbox = {.answer_bytes = 1000, .optional_bytes = 100}});
  server_.StopReading();
  EXPECT_FALSE(hub_.TrySendEvent("E", std::string(200, 'x')));
  for (int i = 0; i < 200; ++i)
    server_.Send(R"({"type":"ping"})");
  EXPECT_EQ(user_.WaitFor(2), (Events{"connect", "disconnect"}));
}

TEST_F(HubTest, AClosedIntakeLetsNothingInButTheLastWordsOut) {
  Connect();
  IConnection* const stream = Claim("s");
  Gate call;
  user_.on_call = [&](const auto&) { call.Enter(); };
  server_.Send(Rpc(1, "F"));
  call.WaitForEntry();
  auto closed = std::async(std::launch::async, [this] { hub_.CloseIntake(); });
  call.Open();
  closed.wait();
  EXPECT_EQ(server_.Take(), RpcReplyMessage(1, 0, 5, "1p"));
  server_.Send(Inward("s", "data"));
  server_.Send(Rpc(3, "F"));
  EXPECT_EQ(server_.Take(), RpcReplyMessage(3, 170, 0, ""));
  EXPECT_EQ(stream->Send({"streamStop", "{}"}, 10), 0u);
  EXPECT_EQ(server_.Take(), StreamMessage("s", "streamStop", "{}"));
  manager_->DestroyStream(stream);
  loop_->Stop();
  EXPECT_EQ(server_.Take(), StreamClosedMessage("s", "destroyed"));
  EXPECT_EQ(user_.WaitFor(0), (Events{"connect", "called F"}));
}

}  // namespace
}  // namespace host::connector
