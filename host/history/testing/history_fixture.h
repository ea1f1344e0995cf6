#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/history/history_anchor.h"
#include "host/history/history_file.h"
#include "host/history/history_reader.h"
#include "host/history/history_store.h"
#include "host/history/own_events.h"
#include "host/history/verify_history.h"
#include "module/frame/testing/test_folder.h"
#include "module/frame/utf.h"

namespace host::history {

using Texts = std::vector<std::string>;

inline IHistory::Event::Data DataOf(std::wstring_view value) {
  IHistory::Event::Data data;
  data.values.Add(2, orn::StringT<wchar_t>(value));
  return data;
}

class HistoryTest : public testing::Test {
 protected:
  ~HistoryTest() override { RemoveAnchor(path_); }

  // A run of the agent that adds records "1", "2", ...
  void Fill(int count) const {
    HistoryStore store(path_);
    EXPECT_EQ(store.Open(), 0u);
    for (int i = 1; i <= count; ++i)
      EXPECT_EQ(store.Add(DataOf(std::to_wstring(i)), L"Test"), 0u);
    store.Close();
  }
  // "sequence feature value" of each, the newest first; of own ones the event in the value's place.
  Texts Read(int64_t first = 0, size_t count = 1000) const {
    std::vector<HistoryRecord> records;
    int64_t total = 0;
    EXPECT_EQ(HistoryReader(path_).ReadNewest(first, count, records, total), 0u);
    Texts texts;
    for (const HistoryRecord& record : records) {
      const auto* const value = record.data.values.Find(record.feature == kOwnFeature ? 0 : 2);
      const std::wstring text = record.feature + L' ' + value->c_str();
      texts.push_back(std::to_string(record.sequence) + ' ' + orn::ToUtf8(text).c_str());
    }
    return texts;
  }
  static std::string Verify(const std::wstring& path) {
    const Verification found = VerifyHistory(path);
    const char* const words[] = {"intact", "changed", "removed", "unreadable"};
    const int64_t numbers[] = {found.records, found.first_bad, found.first_bad, found.status};
    const auto finding = static_cast<size_t>(found.finding);
    return words[finding] + (' ' + std::to_string(numbers[finding]));
  }
  // What somebody with a tool does to the file.
  void Tamper(const std::string& sql) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(orn::ToUtf8(path_).c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }

  TestFolder folder_;
  const std::wstring path_ = folder_ / L"history.db";
};

}  // namespace host::history
