#include "host/history/testing/history_fixture.h"

namespace host::history {
namespace {

TEST_F(HistoryTest, KeepsWhateverARecordHoldsAndGivesTheNewestFirst) {
  const HistoryReader reader(path_);
  int64_t count = 0;
  EXPECT_EQ(reader.Count(count), 2u);
  HistoryStore store(path_);
  EXPECT_EQ(store.Add(DataOf(L"1"), L"Test"), 21u);
  ASSERT_EQ(store.Open(), 0u);
  IHistory::Event::Data odd = DataOf(std::wstring_view(L"a\0\xD800z\xDC00", 5));
  odd.number = -1;
  odd.large_number = INT64_MIN;
  odd.text = L"\U0001F600";
  odd.values.Add(-1, L"");
  EXPECT_EQ(store.Add(odd, L"T\xD800"), 0u);
  EXPECT_EQ(store.Add(DataOf(L"2"), L""), 87u);
  EXPECT_EQ(store.Add(DataOf(std::wstring(40'000, L'x')), L"Test"), 223u);
  // Another writer, which should not be there, costs nothing.
  Fill(1);
  EXPECT_EQ(store.Add(DataOf(L"4"), L"Test"), 0u);
  HistoryRecord record;
  ASSERT_EQ(reader.Read(1, record), 0u);
  const std::string bytes = EncodeRecord(record);
  EXPECT_EQ(bytes,
            EncodeRecord({.sequence = 1, .time = record.time, .feature = L"T\xD800", .data = odd}));
  for (const int64_t sequence : {0, 5})
    EXPECT_EQ(reader.Read(sequence, record), 1168u);
  EXPECT_EQ(Read(0, 2), (Texts{"4 Test 4", "3 Test 1"}));
  EXPECT_EQ(Read(1, 1), Texts{"3 Test 1"});
  EXPECT_EQ(Read(4), Texts{});
  EXPECT_EQ(Read(0, SIZE_MAX).size(), 4u);
  EXPECT_EQ(Verify(path_), "intact 4");
  // Whatever is cut off or left over is no record.
  for (size_t size = 0; size < bytes.size(); ++size)
    EXPECT_FALSE(DecodeRecord(bytes.substr(0, size), record)) << size;
  EXPECT_FALSE(DecodeRecord(bytes + '\0', record));
}

TEST_F(HistoryTest, EachKindOfTamperingIsFoundAndShown) {
  Fill(5);
  std::vector<HistoryRecord> records;
  int64_t total = 0;
  ASSERT_EQ(HistoryReader(path_).ReadNewest(0, 5, records, total), 0u);
  const std::string good = folder_.Read(L"history.db");
  // Record 2 says something else: 7 instead of 2, without or with the hash that it should have.
  records[3].data = DataOf(L"7");
  Hash forged{};
  ASSERT_TRUE(RecordHash().Compute(records[4].hash, EncodeRecord(records[3]), forged));
  const std::string change =
      "UPDATE records SET record = CAST(replace(record, x'01000000' || x'3200',"
      " x'01000000' || x'3700') AS BLOB)";
  const struct {
    std::string sql;
    const char* verdict;
    const char* second;  // What readers see in the place of record 2.
  } cases[] = {
      {change + " WHERE sequence = 2", "changed 2", "2 History 3"},
      {"UPDATE records SET previous = 7, hash = '' WHERE sequence = 2", "changed 2", "2 History 3"},
      {change + ", hash = x'" + HexText(forged) + "' WHERE sequence = 2", "changed 2", "2 Test 7"},
      {"DELETE FROM records WHERE sequence = 1", "removed 1", "2 Test 2"},
      {"DELETE FROM records WHERE sequence = 2", "removed 2", "2 History 3"},
      {"DELETE FROM records WHERE sequence = 5", "removed 5", "2 Test 2"},
      {"UPDATE records SET sequence = 9 WHERE sequence = 2;"  // Two swapped.
       "UPDATE records SET sequence = 2 WHERE sequence = 3;"
       "UPDATE records SET sequence = 3 WHERE sequence = 9",
       "changed 2", "2 History 3"},
      {"DELETE FROM records WHERE sequence = 2;"
       "UPDATE records SET sequence = sequence - 1 WHERE sequence > 2",
       "changed 2", "2 History 3"},
      {"INSERT INTO records SELECT -1, previous, record, hash FROM records WHERE sequence = 1",
       "changed -1", "2 Test 2"},
  };
  for (const auto& [sql, verdict, second] : cases) {
    SCOPED_TRACE(sql);
    folder_.Write(L"history.db", good);
    Tamper(sql);
    EXPECT_EQ(Verify(path_), verdict);
    const Texts all = Read();
    EXPECT_EQ(all.at(all[0][0] - '2'), second);
  }
}

TEST_F(HistoryTest, AStoreWrittenAnewAsAWholeIsToldByTheRegistry) {
  Fill(3);
  HistoryHead anchor;
  ASSERT_TRUE(ReadAnchor(path_, anchor));
  EXPECT_EQ(anchor.sequence, 3);
  // A run that was ended between commit and registry left one more; a second is somebody else's.
  for (const char* const verdict : {"intact 4", "changed 5"}) {
    Fill(1);
    ASSERT_EQ(WriteAnchor(path_, anchor), 0u);
    EXPECT_EQ(Verify(path_), verdict);
    RemoveAnchor(path_);
  }
  EXPECT_EQ(Verify(path_), "intact 5");
  ASSERT_TRUE(DeleteFileW(path_.c_str()));
  Fill(1);
  Fill(4);
  ASSERT_EQ(WriteAnchor(path_, anchor), 0u);
  EXPECT_EQ(Verify(path_), "changed 3");
}

}  // namespace
}  // namespace host::history
