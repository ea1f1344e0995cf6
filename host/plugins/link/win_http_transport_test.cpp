#include "host/plugins/link/win_http_transport.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>

#include "host/plugins/common/node_server.h"
#include "module/frame/testing/test_folder.h"

namespace host::link {
namespace {

using namespace std::chrono_literals;
using Opened = ITransport::Opened;
using Received = ITransport::Received;

class WinHttpTransportTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    server_ = std::make_unique<NodeServer>("host/plugins/link/win_http_transport_server.mjs");
  }
  static void TearDownTestSuite() { server_.reset(); }

  void SetUp() override {
    ASSERT_NE(server_->port(), 0) << "the server did not start";
    WriteKey("right\r\n");
  }

  void WriteKey(const char* key) const { folder_.Write(L"key", key); }
  void Make(const std::wstring& path = {}, int port = server_->port()) {
    const auto address =
        ParseServerAddress(L"ws://127.0.0.1:" + std::to_wstring(port) + path, L"/api/agent");
    transport_ = std::make_unique<WinHttpTransport>(
        *address, MachineIdentity{L"machine-1", L"B\u00fcro 1"}, key_file_);
  }
  Opened Open() { return transport_->Open(reason_); }
  std::string Next() {
    std::string text;
    return transport_->Receive(text, 24h) == Received::kMessage ? text : "(none)";
  }

  static inline std::unique_ptr<NodeServer> server_;
  const TestFolder folder_;
  const std::wstring key_file_ = folder_ / L"key";
  std::unique_ptr<WinHttpTransport> transport_;
  std::string reason_;
};

TEST_F(WinHttpTransportTest, CarriesTextsOfAnySizeBothWaysUnderTheMachinesName) {
  Make();
  ASSERT_EQ(Open(), Opened::kOpen) << reason_;
  EXPECT_EQ(Next(), "machine-1 B%C3%BCro%201");
  std::string text;
  EXPECT_EQ(transport_->Receive(text, 1ms), Received::kTimeout);
  const std::string longest(kLongestMessage, 'y');
  for (const std::string& message : {std::string("a"), longest, std::string("\xc3\xa4")}) {
    EXPECT_TRUE(transport_->Send(message));
    EXPECT_EQ(Next(), message);
  }
  EXPECT_TRUE(transport_->Send("fragments"));
  EXPECT_EQ(Next(), "one two");
  EXPECT_TRUE(transport_->Send("too long"));
  EXPECT_EQ(transport_->Receive(text, 24h), Received::kTooLong);
  EXPECT_EQ(Next(), "after it");
  EXPECT_TRUE(transport_->Send("close"));
  EXPECT_EQ(transport_->Receive(text, 24h), Received::kClosed);
}

TEST_F(WinHttpTransportTest, TellsARefusedKeyFromAServerThatIsAway) {
  Make();
  WriteKey("wrong");
  EXPECT_EQ(Open(), Opened::kRefused);
  for (const char* const no_word : {"two\r\nX-Lines:1", "right right", "right\x01", " \r\n"}) {
    Make();
    WriteKey(no_word);
    EXPECT_EQ(Open(), Opened::kFailed) << no_word;
  }
  Make();
  DeleteFileW(key_file_.c_str());
  EXPECT_EQ(Open(), Opened::kFailed);
  WriteKey("right");
  Make(/*path=*/{}, /*port=*/1);
  EXPECT_EQ(Open(), Opened::kFailed);
}

TEST_F(WinHttpTransportTest, CloseEndsWhateverWaits) {
  {
    Make(L"/frozen");
    auto opening = std::async(std::launch::async, [this] { return Open(); });
    transport_->Close();
    EXPECT_EQ(opening.get(), Opened::kFailed);
  }
  {
    Make();
    ASSERT_EQ(Open(), Opened::kOpen) << reason_;
    EXPECT_EQ(Next(), "machine-1 B%C3%BCro%201");
    EXPECT_TRUE(transport_->Send("terminate"));
    EXPECT_EQ(Next(), "(none)");
  }
  {
    // Last, because under Wine the rest of the broken-off write may end up in a connection that is
    // made at once.
    Make();
    ASSERT_EQ(Open(), Opened::kOpen) << reason_;
    EXPECT_EQ(Next(), "machine-1 B%C3%BCro%201");
    auto receiving = std::async(std::launch::async, [this] { return Next(); });
    // Against a peer that reads nothing more, a writer comes to a stand sooner or later.
    auto sending = std::async(std::launch::async, [this] {
      transport_->Send("freeze");
      while (transport_->Send(std::string(kLongestMessage, 'z'))) {
      }
    });
    EXPECT_EQ(sending.wait_for(200ms), std::future_status::timeout);
    transport_->Close();
    sending.wait();
    EXPECT_EQ(receiving.get(), "(none)");
    EXPECT_FALSE(transport_->Send("a"));
  }
}

}  // namespace
}  // namespace host::link
