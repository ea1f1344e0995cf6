#include "host/plugins/persistent_handlers/persistent_handlers.h"

#include <gtest/gtest.h>

#include <thread>

#include "host/plugins/common/fake_host.h"
#include "module/frame/testing/test_folder.h"

namespace host {
namespace {

class PersistentHandlersTest : public testing::Test {
 protected:
  PersistentHandlersTest() {
    host_.SetOption(L"Product.PersistentHandlers", L"store", path_.c_str());
  }

  // What a process of the next run sees.
  std::string Names(const char* channel) {
    PersistentHandlers plugin;
    EXPECT_EQ(plugin.Init(&host_), 0);
    std::string names;
    plugin.ForEach(
        channel, [](const char* id, void* text) { *static_cast<std::string*>(text) += id; },
        &names);
    return names;
  }

  TestFolder folder_;
  const std::wstring path_ = folder_ / L"new\\handlers.db";
  FakeHost host_;
};

TEST_F(PersistentHandlersTest, NamesOfAllProcessesAreThereInTheNextRun) {
  {
    PersistentHandlers first;
    PersistentHandlers second;
    ASSERT_EQ(first.Init(&host_), 0);
    ASSERT_EQ(second.Init(&host_), 0);
    // Both find no file, and fill it at the same time.
    std::jthread other([&] {
      for (int i = 0; i < 10; ++i)
        second.Add("other", std::to_string(i).c_str());
    });
    for (const char* const id : {"b", "a", "\xc3\xa4", "b"})
      first.Add("c", id);
    other.join();
    second.Remove("c", "a");
    second.Remove("d", "b");
  }
  EXPECT_EQ(Names("c"), "b\xc3\xa4");
  EXPECT_EQ(Names("other"), "0123456789");
}

TEST_F(PersistentHandlersTest, DamagedFileIsSetAsideAndTheNamesBeginAnew) {
  folder_.Folder(L"new");
  folder_.Write(L"new\\handlers.db", std::string(5000, 'x'));
  PersistentHandlers plugin;
  ASSERT_EQ(plugin.Init(&host_), 0);
  plugin.Add("c", "a");
  EXPECT_EQ(Names("c"), "a");
  EXPECT_TRUE(Exists(path_ + L".damaged"));
}

}  // namespace
}  // namespace host
