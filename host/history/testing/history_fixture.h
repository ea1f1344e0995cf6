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
  ~HistoryTest() override {
    RemoveAnchor(path_);
    RemoveAnchor(AsidePath());
  }

  // A run of the agent that adds records "1", "2", ...
  void Fill(int count, bool orderly = true) const {
    HistoryStore store(path_);
    EXPECT_EQ(store.Open(), 0u);
    for (int i = 1; i <= count; ++i)
      EXPECT_EQ(store.Add(DataOf(std::to_wstring(i)), L"Test"), 0u);
    if (orderly) store.Close();
  }
  // "sequence feature value" of each, the newest first; of own ones the event in the value's place.
  Texts Read(int64_t first = 0, size_t count = 1000) const {
    std::vector<HistoryRecord> records;
    int64_t total = 0;
    EXPECT_EQ(HistoryReader(path_).ReadNewest(first, count, records, total), 0u);
    Texts texts;
    for (const HistoryRecord& record : records) {
      const auto* const value = record.data.values.Find(record.feature == kOwnFeature ? 0 : 2);
      texts.push_back(std::to_string(record.sequence) + ' ' + orn::ToUtf8(record.feature).c_str() +
                      ' ' + orn::ToUtf8(value->view()).c_str());
    }
    return texts;
  }
  static std::string Verify(const std::wstring& path) {
    const Verification found = VerifyHistory(path);
    switch (found.finding) {
      case Verification::Finding::kIntact:
        return std::to_string(found.records) + (found.anchored ? " intact" : " without anchor");
      case Verification::Finding::kChanged:
        return "changed " + std::to_string(found.first_bad);
      case Verification::Finding::kRemoved:
        return "removed " + std::to_string(found.first_bad);
      case Verification::Finding::kUnreadable:
        return "unreadable " + std::to_string(found.status);
    }
    return {};
  }
  std::string Verify() const { return Verify(path_); }
  // What somebody with a tool does to the file.
  void Tamper(const std::string& sql) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(orn::ToUtf8(path_).c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(database);
    sqlite3_close(database);
  }
  // The store that was set aside; empty where there is none.
  std::wstring AsidePath() const {
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((path_ + L".damaged-*Z").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return {};
    FindClose(search);
    return folder_ / found.cFileName;
  }

  TestFolder folder_;
  const std::wstring path_ = folder_ / L"history.db";
};

}  // namespace host::history
