#include "host/plugins/integration/event_store.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "module/frame/testing/test_folder.h"

namespace host::integration {
namespace {

using Names = std::vector<std::string>;

class EventStoreTest : public testing::Test {
 protected:
  // As a new process would do it.
  EventStore& Reopen(const EventStore::Limits& limits = {}) {
    store_.reset();
    store_.emplace(path_, limits);
    EXPECT_TRUE(store_->Open());
    return *store_;
  }
  // "number name" of each event after that number.
  static Names Read(EventStore& store, uint64_t after = 0, size_t count = 100,
                    size_t bytes = 1000) {
    Names names;
    for (const StoredEvent& event : store.After(after, count, bytes))
      names.push_back(std::to_string(event.number) + " " + event.name);
    return names;
  }
  static void Overwrite(const std::wstring& path, std::streamoff offset, size_t count) {
    std::fstream file(std::filesystem::path(path), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(offset);
    file << std::string(count, '\xff');
  }

  TestFolder folder_;
  const std::wstring path_ = folder_ / L"new\\events.db";
  std::optional<EventStore> store_;
};

TEST_F(EventStoreTest, NumbersRiseForEverAndReadsAreBounded) {
  EventStore* store = &Reopen();
  for (const char* const name : {"a", "b", "\xc3\xa4"})
    EXPECT_TRUE(store->Append(name, R"({"data":1})"));
  EXPECT_EQ(Read(*store), (Names{"1 a", "2 b", "3 \xc3\xa4"}));
  EXPECT_EQ(store->After(2, 1, 0).at(0).payload, R"({"data":1})");
  // At most so many, so many bytes, but one at least.
  EXPECT_EQ(Read(*store, 1, 1), Names{"2 b"});
  EXPECT_EQ(Read(*store, 0, 100, 22), (Names{"1 a", "2 b"}));
  EXPECT_EQ(Read(*store, 0, 100, 1), Names{"1 a"});
  // The server knows more than a file that was taken from a copy.
  store->Forget(100);
  store = &Reopen();
  EXPECT_TRUE(store->Append("e", "1"));
  EXPECT_EQ(Read(*store), Names{"101 e"});
}

TEST_F(EventStoreTest, TheOldestAreDroppedBeyondItsBounds) {
  EventStore* store = &Reopen({.events = 3, .bytes = 30});
  for (const char* const name : {"a", "b", "c", "d"})
    EXPECT_TRUE(store->Append(name, "1"));
  EXPECT_EQ(Read(*store), (Names{"2 b", "3 c", "4 d"}));
  EXPECT_TRUE(store->Append("e", std::string(26, '1')));
  EXPECT_EQ(Read(*store), (Names{"4 d", "5 e"}));
  // One that is larger than all that may be kept is kept alone.
  EXPECT_TRUE(store->Append("f", std::string(50, '1')));
  store = &Reopen({.events = 3, .bytes = 30});
  EXPECT_EQ(Read(*store), Names{"6 f"});
  EXPECT_TRUE(store->Append("g", "1"));
  EXPECT_EQ(Read(*store), Names{"7 g"});
}

TEST_F(EventStoreTest, AFileOfNoUseIsSetAsideAndANewOneBegun) {
  EventStore* store = &Reopen();
  std::string id = store->id();
  const auto expect_new = [&](const char* what) {
    SCOPED_TRACE(what);
    store = &Reopen();
    EXPECT_NE(store->id(), id);
    EXPECT_EQ(Read(*store), Names{});
    EXPECT_TRUE(store->Append("a", std::string(20'000, '1')));
    EXPECT_EQ(Read(*store), Names{"1 a"});
    id = store->id();
    EXPECT_TRUE(Exists(path_ + L".damaged"));
    EXPECT_TRUE(DeleteFileW((path_ + L".damaged").c_str()));
    store_.reset();
  };
  store_.reset();
  folder_.Write(L"new\\events.db", "no database" + std::string(5000, 'x'));
  expect_new("garbage");
  Overwrite(path_, 2 * 4096, 4096);
  expect_new("a page overwritten");
  std::filesystem::resize_file(path_, 4096);
  expect_new("cut short");
  std::filesystem::remove(path_);
  {
    sqlite3* foreign = nullptr;
    sqlite3_open16(path_.c_str(), &foreign);
    SqliteTransaction transaction(foreign);
    transaction.Do("CREATE TABLE t(x)");
    EXPECT_EQ(transaction.Commit(), SQLITE_OK);
    sqlite3_close(foreign);
  }
  expect_new("another program's");
  folder_.Write(L"new\\events.db", "");
  EXPECT_EQ(Read(Reopen()), Names{});
  EXPECT_FALSE(Exists(path_ + L".damaged"));
}

TEST_F(EventStoreTest, DamageThatIsFoundWhileTheFileIsOpenCostsNoMoreThanWhatWasInIt) {
  EventStore* store = &Reopen();
  const std::string id = store->id();
  // More than is kept in memory, and less than goes from the journal into the file.
  for (int i = 1; i <= 3; ++i)
    EXPECT_TRUE(store->Append("e", std::string(1024 * 1024, '1')));
  Overwrite(path_ + L"-wal", 32, 4 * 1024 * 1024);
  EXPECT_EQ(Read(*store, 0, 100, 1), Names{});
  EXPECT_TRUE(store->Append("a", "1"));
  EXPECT_EQ(Read(*store), Names{"4 a"});
  store = &Reopen();
  EXPECT_EQ(store->id(), id);
  EXPECT_TRUE(store->Append("b", "1"));
  EXPECT_EQ(Read(*store), (Names{"4 a", "5 b"}));
}

TEST_F(EventStoreTest, WithoutAFileNothingIsTakenUntilThereIsOne) {
  EventStore& store = Reopen();
  EXPECT_TRUE(store.Append("a", "1"));
  // A second process must not use the file, nor take it for a damaged one.
  EventStore second(path_, {});
  EXPECT_FALSE(second.Open());
  EXPECT_EQ(second.id(), "");
  EXPECT_FALSE(second.Append("b", "1"));
  EXPECT_EQ(Read(second), Names{});
  second.Forget(5);
  store.Close();
  EXPECT_FALSE(store.Append("c", "1"));
  EXPECT_TRUE(second.Open());
  EXPECT_EQ(Read(second), Names{"1 a"});
}

}  // namespace
}  // namespace host::integration
