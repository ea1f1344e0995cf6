#include "host/plugins/history/history_logger.h"

#include <gtest/gtest.h>

#include "host/history/history_anchor.h"
#include "host/history/history_reader.h"
#include "host/history/history_words.h"
#include "host/plugins/common/fake_host.h"
#include "host/plugins/connector/hub.h"
#include "host/plugins/link/connection_loop.h"
#include "host/plugins/link/memory_transport.h"
#include "module/frame/json.h"
#include "module/frame/testing/test_folder.h"

namespace host {
namespace {

// The real hub, with a server in memory behind it.
class Connector final : public IOrnBaseInterface, public VeldConnector::IConnector {
 public:
  Connector() {
    loop_.Start();
    server_.Accept();
  }
  ~Connector() {
    hub_.CloseIntake();
    loop_.Stop();
  }

  void* GetInterface(const InterfaceId& id) override {
    return id == VeldConnector::IConnector::kInterfaceId
               ? static_cast<VeldConnector::IConnector*>(this)
               : nullptr;
  }
  VeldConnector::ISocketManager* CreateSocketManager(
      VeldConnector::ISocketConnection* observer) override {
    return hub_.CreateSocketManager(observer);
  }
  void DeleteSocketManager(VeldConnector::ISocketManager* manager) override {
    hub_.DeleteSocketManager(manager);
  }

  // What the server gets: the text, or the code.
  std::string Call(const std::string& method, const std::string& parameters) {
    Json::Value call;
    call["type"] = "rpc";
    call["id"] = 1;
    call["module"] = "History";
    call["method"] = method;
    call["params"] = parameters;
    server_.Send(orn::JsonWriter().Write(call));
    Json::Value reply;
    EXPECT_TRUE(orn::JsonReader().Parse(server_.Take(), reply));
    const Json::Value& code = reply[reply["result"].asUInt() != 0 ? "result" : "code"];
    return code.asUInt() == 0 ? reply["text"].asString() : code.asString();
  }

 private:
  link::MemoryServer server_;
  connector::Hub hub_{connector::StreamLimits{}, [] { return true; }};
  link::ConnectionLoop loop_{L"VeldConnector", server_.Factory(), hub_, link::LoopLimits{}};
};

class HistoryLoggerTest : public testing::Test {
 protected:
  HistoryLoggerTest() { host_.SetOption(L"History.Logger", L"path", path_.c_str()); }
  ~HistoryLoggerTest() override { history::RemoveAnchor(path_); }

  TestFolder folder_;
  const std::wstring path_ = folder_ / L"new\\history.db";
  FakeHost host_;
};

TEST_F(HistoryLoggerTest, TellsOfEachRunThatEndedWithoutAStopAndGetsAlongWithoutAServer) {
  IHistory::Event::Data data;
  for (const bool orderly : {true, false, true}) {
    HistoryLogger plugin;
    ASSERT_EQ(plugin.Init(&host_), 0);
    ASSERT_EQ(plugin.Start(), 0);
    EXPECT_EQ(plugin.Add(nullptr, L"Test"), 87u);
    EXPECT_EQ(plugin.Add(&data, nullptr), 87u);
    EXPECT_EQ(plugin.Add(&data, L"Test"), 0u);
    if (!orderly) continue;
    plugin.Stop();
    EXPECT_EQ(plugin.Add(&data, L"Test"), 21u);
  }
  std::vector<history::HistoryRecord> records;
  int64_t total = 0;
  ASSERT_EQ(history::HistoryReader(path_).ReadNewest(0, 9, records, total), 0u);
  ASSERT_EQ(total, 4);
  history::HistoryWords words([](const wchar_t* text) { return L"[" + std::wstring(text) + L"]"; });
  History::Translation text;
  EXPECT_EQ(words.Translate(records[1].feature.c_str(), records[1].data, text), 0u);
  EXPECT_STREQ(text.title.c_str(),
               L"[The agent ended unexpectedly. Sessions that were open then are not listed.]");
  EXPECT_EQ(words.Translate(records[0].feature.c_str(), records[0].data, text), 1627u);
  records[1].data.values.Remove(0);
  records[1].data.values.Add(0, L"9");
  EXPECT_EQ(words.Translate(records[1].feature.c_str(), records[1].data, text), 1627u);
}

TEST_F(HistoryLoggerTest, TheServerGetsPagesThatFitItsConnection) {
  Connector connector;
  host_.Add(L"VeldConnector", &connector);
  HistoryLogger plugin;
  ASSERT_EQ(plugin.Init(&host_), 0);
  ASSERT_EQ(plugin.Start(), 0);
  EXPECT_EQ(connector.Call("GetRecords", "{}"), "{\"records\":[],\"total\":0}\n");
  IHistory::Event::Data data;
  data.values.Add(-1, orn::StringT<wchar_t>(std::wstring_view(L"\xD800\"\0", 3)));
  EXPECT_EQ(plugin.Add(&data, L"Test"), 0u);
  const std::string one = connector.Call("GetRecords", R"({"before":2,"limit":1})");
  EXPECT_NE(one.find(R"("values":{"-1":"\ufffd\"\u0000"})"), std::string::npos) << one;
  // Each of them becomes 180,000 bytes, and more in its message.
  data.values.Add(0, orn::StringT<wchar_t>(std::wstring(30'000, L'\x01').c_str()));
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(plugin.Add(&data, L"Test"), 0u);
  const auto page = [&](const std::string& parameters) {
    Json::Value json;
    EXPECT_TRUE(orn::JsonReader().Parse(connector.Call("GetRecords", parameters), json));
    std::string sequences = json["total"].asString() + ':';
    for (const Json::Value& record : json["records"])
      sequences += ' ' + record["sequence"].asString();
    return sequences;
  };
  EXPECT_EQ(page("{}"), "5: 5 4");
  EXPECT_EQ(page(R"({"before":4})"), "5: 3 2 1");
  EXPECT_EQ(page(R"({"before":3,"limit":500})"), "5: 2 1");
  EXPECT_EQ(page(R"({"before":1})"), "5:");
  for (const char* const bad :
       {"", "[]", "{", R"({"limit":0})", R"({"limit":501})", R"({"limit":"1"})", R"({"before":0})",
        R"({"before":1.5})", R"({"before":18446744073709551615})"}) {
    EXPECT_EQ(connector.Call("GetRecords", bad), "87") << bad;
  }
  EXPECT_EQ(connector.Call("getRecords", "{}"), "50");
  plugin.Stop();
  EXPECT_EQ(connector.Call("GetRecords", "{}"), "3");
  plugin.UnInit();
  EXPECT_EQ(host_.references(), 0);
}

}  // namespace
}  // namespace host
