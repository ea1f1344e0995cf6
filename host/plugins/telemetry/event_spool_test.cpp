#include "host/plugins/telemetry/event_spool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

namespace host {
namespace {

std::vector<std::string> Lines(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);)
    lines.push_back(line);
  return lines;
}

TEST(EventSpool, KeepsTheLatestLinesWholeUnderManyWriters) {
  const auto folder = std::filesystem::temp_directory_path() /
                      (L"event_spool_test." + std::to_wstring(GetCurrentProcessId()));
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
  EXPECT_EQ(Lines(folder / L"events.1.jsonl"), std::vector<std::string>(100, "123456789"));
  EXPECT_EQ(Lines(folder / L"events.jsonl"), std::vector<std::string>(100, "123456789"));
  spool.reset();
  // A new process goes on where the last one ended.
  spool = std::make_unique<EventSpool>(folder, L"events", /*limit=*/2000);
  EXPECT_EQ(spool->Append("next\n"), 0u);
  EXPECT_EQ(Lines(folder / L"events.jsonl").size(), 101u);
  spool.reset();
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace host
