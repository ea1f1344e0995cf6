#include "host/plugins/connector/stream.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>

#include "host/plugins/connector/messages.h"
#include "module/feature/testing/call_list.h"

namespace host::connector {
namespace {

using namespace std::chrono_literals;

constexpr char kStopText[] = R"({"type":"streamStop"})";
constexpr char kDataText[] = R"({"type":"data"})";
constexpr StreamLimits kSmall{.window_bytes = 10, .inward_bytes = 1000, .stall = 24h};

// Records what is delivered, and runs `on_message` in each delivery.
class Recorder final : public orn::RemoteAccess::CallList,
                       public VeldConnector::Stream::IConnection::IMessageHandler {
 public:
  void OnMessage(const std::string& text) override {
    if (on_message) on_message();
    Add(text);
  }
  std::vector<std::string> texts() { return WaitFor(0); }

  std::function<void()> on_message;
};

class StreamTest : public testing::Test {
 protected:
  ~StreamTest() override { Destroy(); }
  // Ends the former one.
  void Open(const StreamLimits& limits = kSmall) {
    Destroy();
    stream_ = std::make_shared<Stream>("s", outbox_, limits);
    stream_->StartDelivery();
    stream_->SetMessageHandler(&recorder_);
  }
  std::future<uint32_t> SendLater(const char* type, const char* content) {
    return std::async(std::launch::async, [=, this] { return Send(type, content); });
  }
  uint32_t Send(const char* type, const char* content) {
    return stream_->Send({type, content}, 10);
  }
  std::string NextSent() {
    std::string text;
    outbox_->Pop(text);
    return text;
  }
  void Destroy() {
    if (const auto stream = std::exchange(stream_, nullptr)) stream->Destroy();
  }

  std::shared_ptr<link::Outbox> outbox_ =
      std::make_shared<link::Outbox>(link::Outbox::Limits{}, [] {});
  Recorder recorder_;
  std::shared_ptr<Stream> stream_;
};

TEST_F(StreamTest, SendWaitsForCreditOfWhichStopAndResizeNeedNone) {
  Open();
  EXPECT_EQ(Send("data", "123456"), 0u);
  auto waiting = SendLater("data", "12345");
  EXPECT_EQ(Send("resize", "{\"cols\":1000,\"rows\":1000}"), 0u);
  EXPECT_EQ(NextSent(), StreamMessage("s", "data", "123456"));
  EXPECT_EQ(NextSent(), StreamMessage("s", "resize", "{\"cols\":1000,\"rows\":1000}"));
  stream_->AddCredit(1);
  EXPECT_EQ(waiting.get(), 0u);
  EXPECT_EQ(NextSent(), StreamMessage("s", "data", "12345"));
  // Credit for what was never sent gives no larger window, and a message longer than it goes alone.
  stream_->AddCredit(UINT64_MAX);
  EXPECT_EQ(Send("data", "123456789012345"), 0u);
  waiting = SendLater("data", "1");
  EXPECT_EQ(Send("streamStop", "{}"), 0u);
  stream_->AddCredit(15);
  EXPECT_EQ(waiting.get(), 0u);
}

TEST_F(StreamTest, WithoutProgressItIsLostAndEndsOnceAfterItHasBegun) {
  Open({.window_bytes = 1, .inward_bytes = 1000, .stall = 1ms});
  EXPECT_EQ(Send("data", "1"), 0u);
  EXPECT_EQ(NextSent(), StreamMessage("s", "data", "1"));
  auto waiting = SendLater("data", "2");
  EXPECT_EQ(NextSent(), StreamClosedMessage("s", "lost"));
  for (const uint32_t result : {waiting.get(), Send("data", "3")})
    EXPECT_TRUE(result != 0 && result != 8 && result != 9) << result;
  stream_->Accept(kStopText);
  stream_->EndInward();
  EXPECT_TRUE(recorder_.texts().empty());
  stream_->Begin();
  EXPECT_EQ(recorder_.WaitFor(1), std::vector<std::string>{kStreamErrorText});
  EXPECT_FALSE(stream_->YieldEnd());
  Destroy();
  EXPECT_EQ(recorder_.texts().size(), 1u);
  outbox_->Finish();
  EXPECT_EQ(NextSent(), "") << "the stream was closed twice";
}

TEST_F(StreamTest, ALostHostEndsTheSessionOnceUnlessAnotherEndWasFirst) {
  Open();
  stream_->LoseHost();
  stream_->LoseHost();
  stream_->Accept(kStopText);
  EXPECT_EQ(NextSent(), StreamClosedMessage("s", "hostLost"));
  stream_->Begin();
  EXPECT_EQ(recorder_.WaitFor(1), std::vector<std::string>{kStreamErrorText});

  Open();
  stream_->Begin();
  EXPECT_EQ(Send("streamStop", "{}"), 0u);
  EXPECT_EQ(NextSent(), StreamMessage("s", "streamStop", "{}"));
  stream_->LoseHost();
  Destroy();
  EXPECT_EQ(NextSent(), StreamClosedMessage("s", "destroyed"));
  EXPECT_EQ(recorder_.texts().size(), 1u);
}

TEST_F(StreamTest, WaitingSendsEndAtOnceWithTheConnectionOrTheStream) {
  const auto result_when = [this](const std::function<void()>& end) {
    Open();
    stream_->Begin();
    EXPECT_EQ(Send("data", "1234567890"), 0u);
    auto waiting = SendLater("data", "1");
    end();
    return waiting.get();
  };
  const uint32_t lost = result_when([this] { stream_->Disconnect(); });
  EXPECT_TRUE(lost != 0 && lost != 8 && lost != 9) << lost;
  EXPECT_EQ(result_when([this] { stream_->Accept(kStopText); }), 0u);
  EXPECT_EQ(Send("data", "1"), 0u);
  EXPECT_EQ(result_when([this] { stream_->EndInward(); }), 0u);
  EXPECT_EQ(result_when([this] { stream_->CloseIntake(); }), 0u);
}

TEST_F(StreamTest, DestroyEndsASendThatTheHandlerIsIn) {
  Open();
  EXPECT_EQ(Send("data", "1234567890"), 0u);
  std::promise<void> inside;
  uint32_t result = 1;
  recorder_.on_message = [&, stream = stream_.get()] {
    inside.set_value();
    result = stream->Send({"data", "1"}, 10);
  };
  stream_->Begin();
  stream_->Accept("no json");
  stream_->Accept(kDataText);
  inside.get_future().wait();
  Destroy();
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(recorder_.texts().size(), 1u) << "Destroy did not wait for the handler";
}

TEST_F(StreamTest, AnEndComesFromTheStreamOrFromElsewhere) {
  Open({.window_bytes = 1, .inward_bytes = 1000, .stall = 1ms});
  stream_->Begin();
  EXPECT_TRUE(stream_->YieldEnd());
  stream_->Accept(kStopText);
  stream_->EndInward();
  // The last output goes on as long as it is taken.
  EXPECT_EQ(Send("data", "1"), 0u);
  const uint32_t lost = Send("data", "2");
  EXPECT_TRUE(lost != 0 && lost != 8 && lost != 9) << lost;
  Destroy();
  EXPECT_TRUE(recorder_.texts().empty());

  Open();
  stream_->Begin();
  stream_->Accept(kStopText);
  recorder_.WaitFor(1);
  EXPECT_FALSE(stream_->YieldEnd());

  // Not after the user's own stop either.
  Open();
  stream_->Accept(kStopText);
  EXPECT_EQ(Send("streamStop", "{}"), 0u);
  stream_->Begin();
  stream_->EndInward();
  stream_->TellDead();
  Destroy();
  EXPECT_EQ(recorder_.texts().size(), 1u);
}

TEST_F(StreamTest, InputThatPilesUpEndsTheStreamInsteadOfGrowing) {
  Open();
  for (int i = 0; i < 1000; ++i)
    stream_->Accept(kDataText);
  stream_->Begin();
  EXPECT_EQ(recorder_.WaitFor(1), std::vector<std::string>{kStreamErrorText});
  Destroy();
  EXPECT_EQ(recorder_.texts().size(), 1u);
  EXPECT_EQ(NextSent(), StreamClosedMessage("s", "lost"));
}

}  // namespace
}  // namespace host::connector
