#include "host/plugins/telemetry/event_spool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include "module/frame/testing/test_folder.h"

namespace host {
namespace {

TEST(EventSpool, KeepsTheLatestLinesWholeUnderManyWriters) {
  const TestFolder test_folder;
  const std::filesystem::path folder = test_folder / L"new";
  auto spool = std::make_unique<EventSpool>(folder, L"events", /*limit=*/1000);
  std::vector<std::thread> writers;
  for (int i = 0; i < 4; ++i) {
    writers.emplace_back([&spool] {
      for (int n = 0; n < 100; ++n)
        EXPECT_EQ(spool->Append("123456789\n"), 0u);
    });
  }
  for (std::thread& writer : writers)
    writer.join();
  std::string hundred;
  for (int n = 0; n < 100; ++n)
    hundred += "123456789\n";
  EXPECT_EQ(test_folder.Read(L"new\\events.1.jsonl"), hundred);
  EXPECT_EQ(test_folder.Read(L"new\\events.jsonl"), hundred);
  spool.reset();
  // A new process goes on where the last one ended.
  spool = std::make_unique<EventSpool>(folder, L"events", /*limit=*/2000);
  EXPECT_EQ(spool->Append("next\n"), 0u);
  EXPECT_EQ(test_folder.Read(L"new\\events.jsonl"), hundred + "next\n");
}

}  // namespace
}  // namespace host
