#include <filesystem>
#include <fstream>

#include "host/history/testing/history_fixture.h"
#include "module/jobs/child_process.h"
#include "module/jobs/testing/child_roles.h"

namespace host::history {
namespace {

void Overwrite(const std::wstring& path, std::streamoff offset, size_t count) {
  std::fstream file(std::filesystem::path(path), std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(offset);
  file << std::string(count, '\xff');
}

TEST_F(HistoryTest, ADamagedStoreIsSetAsideAndTheNewOneSaysSo) {
  const auto expect_new = [&](const char* what, const std::string& verdict) {
    SCOPED_TRACE(what);
    EXPECT_EQ(Read(), (Texts{"2 Test 1", "1 History 0"}));
    EXPECT_EQ(Verify(path_), "intact 2");
    HistoryRecord first;
    ASSERT_EQ(HistoryReader(path_).Read(1, first), 0u);
    const std::wstring aside = folder_ / first.data.values.Find(2)->c_str();
    EXPECT_EQ(Verify(aside), verdict);
    RemoveAnchor(aside);
  };
  Fill(100);
  const auto size = static_cast<std::streamoff>(std::filesystem::file_size(path_));
  Overwrite(path_, size - 4096, 4096);
  Fill(1);
  expect_new("its last page", "changed 91");
  Tamper("DELETE FROM records WHERE sequence = 2");
  Fill(1);
  expect_new("its last record removed", "removed 2");
  Tamper("UPDATE records SET record = x'00' WHERE sequence = 2");
  Fill(1);
  expect_new("its last record changed", "changed 2");
  {
    // Somebody reads the file that is found damaged while it is open.
    HistoryStore store(path_);
    EXPECT_EQ(store.Open(), 0u);
    UniqueSqlite reader;
    EXPECT_EQ(OpenForReading(path_, reader), 0u);
    Overwrite(path_, 0, 4096);
    EXPECT_EQ(store.Add(DataOf(L"1"), L"Test"), 0u);
    store.Close();
  }
  expect_new("while it is open", "unreadable 1392");
  ASSERT_TRUE(DeleteFileW(path_.c_str()));
  Fill(1);
  EXPECT_EQ(Read(), (Texts{"2 Test 1", "1 History 2"}));
}

TEST_F(HistoryTest, WhatCannotBeWrittenIsLostAloneAndTheNextIsTaken) {
  const std::wstring journal = path_ + L"-journal";
  Fill(1);
  ASSERT_TRUE(DeleteFileW(journal.c_str()));
  ASSERT_TRUE(CreateDirectoryW(journal.c_str(), nullptr));
  HistoryStore store(path_);
  EXPECT_NE(store.Open(), 0u);
  EXPECT_NE(store.Add(DataOf(L"2"), L"Test"), 0u);
  ASSERT_TRUE(RemoveDirectoryW(journal.c_str()));
  EXPECT_EQ(store.Add(DataOf(L"3"), L"Test"), 0u);
  EXPECT_EQ(Read(), (Texts{"2 Test 3", "1 Test 1"}));
}

TEST_F(HistoryTest, AHotJournalIsRepairedByTheWriterAndToldToReaders) {
  Fill(50);
  const std::wstring torn = folder_ / L"torn.db";
  sqlite3* writer = nullptr;
  ASSERT_EQ(sqlite3_open(orn::ToUtf8(path_).c_str(), &writer), SQLITE_OK);
  // Pages go into the file ahead of a commit that never comes.
  ASSERT_EQ(sqlite3_exec(writer,
                         "PRAGMA cache_size = 1; BEGIN; UPDATE records SET record = zeroblob(9999)",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  ASSERT_TRUE(CopyFileW(path_.c_str(), torn.c_str(), TRUE));
  ASSERT_TRUE(CopyFileW((path_ + L"-journal").c_str(), (torn + L"-journal").c_str(), TRUE));
  sqlite3_close(writer);
  int64_t count = 0;
  EXPECT_EQ(HistoryReader(torn).Count(count), 21u);
  EXPECT_EQ(Verify(torn), "unreadable 21");
  HistoryStore store(torn);
  EXPECT_EQ(store.Open(), 0u);
  store.Close();
  EXPECT_EQ(Verify(torn), "intact 50");
  RemoveAnchor(torn);
}

CHILD_ROLE(AddsUntilItIsEnded) {
  const std::wstring path = orn::ToWide(arguments.at(0)).c_str();
  HistoryStore store(path);
  if (store.Open() != 0) return 1;
  while (store.Add(DataOf(L"1"), L"Test") == 0)
    continue;
  return 2;
}

TEST_F(HistoryTest, AnAgentThatIsEndedAtAnyTimeLeavesAWholeStoreWhichReadersSeeGrow) {
  const std::string role = std::string("AddsUntilItIsEnded ") + orn::ToUtf8(path_).c_str();
  const HistoryReader reader(path_);
  int64_t count = 0;
  for (int run = 0; run < 4; ++run) {
    orn::ChildProcess<void*> child;
    ASSERT_EQ(child.Launch(RoleCommandLine(role), /*showWindow=*/false, /*redirectOutput=*/false,
                           /*workingDir=*/{}, /*restorePath=*/false),
              0u);
    const int64_t before = count;
    do {
      reader.Count(count);
      const Verification found = VerifyHistory(path_);
      EXPECT_TRUE(found.finding == Verification::Finding::kIntact || found.status == 2)
          << found.status << " " << static_cast<int>(found.finding) << " " << found.first_bad;
    } while (WaitForSingleObject(child.process(), 0) != WAIT_OBJECT_0 && count < before + 20);
    TerminateProcess(child.process(), 3);
    WaitForSingleObject(child.process(), INFINITE);
    Fill(0);
    EXPECT_EQ(reader.Count(count), 0u);
    EXPECT_EQ(Read(0, 1).at(0), std::to_string(count) + " History 1");
    EXPECT_EQ(Verify(path_), "intact " + std::to_string(count));
  }
}

}  // namespace
}  // namespace host::history
