#include "host/plugins/history/history_logger.h"

#include <gtest/gtest.h>

#include "host/history/history_anchor.h"
#include "host/history/history_reader.h"
#include "host/history/history_words.h"
#include "host/plugins/common/fake_host.h"
#include "module/frame/json.h"
#include "module/frame/testing/test_folder.h"

namespace host {
namespace {

class HistoryLoggerTest : public testing::Test {
 protected:
  HistoryLoggerTest() {
    host_.SetOption(L"History.Logger", L"path", path_.c_str());
    EXPECT_EQ(plugin_.Init(&host_), 0);
  }
  ~HistoryLoggerTest() override { history::RemoveAnchor(path_); }

  // What the server gets: the text, or the code.
  std::string Call(const std::string& parameters, const char* method = "GetRecords") {
    VeldConnector::Rpc::Reply reply;
    EXPECT_EQ(outlet_.OnRpcMethod({"History", method, "1", parameters}, reply), 0u);
    return reply.code == 0 ? reply.text : std::to_string(reply.code);
  }
  // The total and the sequences.
  std::string Page(const std::string& parameters) {
    Json::Value page;
    EXPECT_TRUE(orn::JsonReader().Parse(Call(parameters), page));
    std::string text = page["total"].asString() + ':';
    for (const Json::Value& record : page["records"])
      text += ' ' + record["sequence"].asString();
    return text;
  }

  TestFolder folder_;
  const std::wstring path_ = folder_ / L"new\\history.db";
  FakeHost host_;
  HistoryLogger plugin_;
  history::HistoryOutlet outlet_{path_};
};

TEST_F(HistoryLoggerTest, TellsOfARunThatEndedWithoutAStop) {
  IHistory::Event::Data data;
  ASSERT_EQ(plugin_.Start(), 0);
  EXPECT_EQ(plugin_.Add(nullptr, L"Test"), 87u);
  EXPECT_EQ(plugin_.Add(&data, nullptr), 87u);
  EXPECT_EQ(plugin_.Add(&data, L"Test"), 0u);
  plugin_.Stop();
  EXPECT_EQ(plugin_.Add(&data, L"Test"), 21u);
  ASSERT_EQ(plugin_.Start(), 0);
  EXPECT_EQ(plugin_.Add(&data, L"Test"), 0u);
  HistoryLogger next;
  ASSERT_EQ(next.Init(&host_), 0);
  ASSERT_EQ(next.Start(), 0);
  EXPECT_EQ(Page("{}"), "3: 3 2 1");
  history::HistoryRecord record;
  ASSERT_EQ(history::HistoryReader(path_).Read(3, record), 0u);
  history::HistoryWords words([](const wchar_t* text) { return L"[" + std::wstring(text) + L"]"; });
  History::Translation text;
  EXPECT_EQ(words.Translate(record.feature.c_str(), record.data, text), 0u);
  EXPECT_STREQ(text.title.c_str(),
               L"[The agent ended unexpectedly. Sessions that were open then are not listed.]");
  EXPECT_EQ(words.Translate(L"Test", record.data, text), 1627u);
  EXPECT_EQ(words.Translate(record.feature.c_str(), data, text), 1627u);
  next.Stop();
}

TEST_F(HistoryLoggerTest, TheServerGetsPagesThatFitItsConnection) {
  EXPECT_EQ(Call("{}"), "{\"records\":[],\"total\":0}\n");
  ASSERT_EQ(plugin_.Start(), 0);
  IHistory::Event::Data data;
  data.values.Add(-1, orn::StringT<wchar_t>(std::wstring_view(L"\xD800\"\0", 3)));
  EXPECT_EQ(plugin_.Add(&data, L"Test"), 0u);
  const std::string one = Call(R"({"before":2,"limit":1})");
  EXPECT_NE(one.find(R"("values":{"-1":"\ufffd\"\u0000"})"), std::string::npos) << one;
  // Each of them becomes 180,000 bytes, and more in its message.
  data.values.Add(0, orn::StringT<wchar_t>(std::wstring(30'000, L'\x01').c_str()));
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(plugin_.Add(&data, L"Test"), 0u);
  EXPECT_EQ(Page("{}"), "5: 5 4");
  EXPECT_EQ(Page(R"({"before":4})"), "5: 3 2 1");
  EXPECT_EQ(Page(R"({"before":3,"limit":500})"), "5: 2 1");
  EXPECT_EQ(Page(R"({"before":1})"), "5:");
  for (const char* const bad :
       {"", "[]", "{", R"({"limit":0})", R"({"limit":501})", R"({"limit":"1"})", R"({"before":0})",
        R"({"before":1.5})", R"({"before":18446744073709551615})"}) {
    EXPECT_EQ(Call(bad), "87") << bad;
  }
  EXPECT_EQ(Call("{}", "getRecords"), "50");
}

}  // namespace
}  // namespace host
