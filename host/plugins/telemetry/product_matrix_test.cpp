#include "host/plugins/telemetry/product_matrix.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "host/plugins/common/fake_host.h"
#include "module/frame/json.h"

namespace host {
namespace {

// A connector that takes every event.
class TakingConnector final : public IEventChannel, public IOrnBaseInterface {
 public:
  void* GetInterface(const InterfaceId& id) override {
    return id == IEventChannel::kInterfaceId ? static_cast<IEventChannel*>(this) : nullptr;
  }
  bool TrySendEvent(const std::string& name, const Json::Value& payload) override {
    sent += name + payload["exit_code"].asString();
    return true;
  }
  std::string sent;
};

class TelemetryTest : public testing::Test {
 protected:
  TelemetryTest() { host_.SetDataFolder(folder_.wstring()); }
  ~TelemetryTest() override { std::filesystem::remove_all(folder_); }

  std::vector<std::string> Lines(const std::wstring& name) const {
    std::ifstream file(folder_ / name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
      lines.push_back(line);
    return lines;
  }

  FakeHost host_;
  const std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() /
      (L"telemetry_test." + std::to_wstring(GetCurrentProcessId()));
};

TEST_F(TelemetryTest, EventsAreInTheSpoolWhetherOrNotThereIsAConnector) {
  Json::Value event(Json::objectValue);
  event["event_name"] = "m_tool_ran";
  event["exit_code"] = 7;
  ProductMatrix telemetry;
  ASSERT_EQ(telemetry.Init(&host_), 0);
  EXPECT_EQ(telemetry.Send(event, 0), 0u);
  telemetry.UnInit();
  TakingConnector connector;
  host_.Add(L"VeldConnector", &connector);
  ASSERT_EQ(telemetry.Init(&host_), 0);
  EXPECT_EQ(telemetry.Send(event, 0), 0u);
  EXPECT_EQ(telemetry.Send(Json::Value("no object"), 0), 0u);
  EXPECT_EQ(connector.sent, "m_tool_ran7");
  const auto lines = Lines(L"telemetry\\events.jsonl");
  ASSERT_EQ(lines.size(), 3u);
  Json::Value line;
  ASSERT_TRUE(orn::JsonReader().Parse(lines[1], line));
  EXPECT_EQ(line["event"], event);
}

TEST_F(TelemetryTest, TheSpoolKeepsTheLatestLinesWholeUnderManyWriters) {
  auto spool = std::make_unique<EventSpool>(folder_, L"events", /*limit=*/1000);
  std::vector<std::thread> writers;
  for (int i = 0; i < 4; ++i) {
    writers.emplace_back([&spool] {
      for (int n = 0; n < 100; ++n)
        EXPECT_EQ(spool->Append("123456789\n"), 0u);
    });
  }
  for (std::thread& writer : writers)
    writer.join();
  EXPECT_EQ(Lines(L"events.1.jsonl"), std::vector<std::string>(100, "123456789"));
  EXPECT_EQ(Lines(L"events.jsonl"), std::vector<std::string>(100, "123456789"));
  spool.reset();
  // A new process goes on where the last one ended.
  EventSpool next(folder_, L"events", /*limit=*/2000);
  EXPECT_EQ(next.Append("next\n"), 0u);
  EXPECT_EQ(Lines(L"events.jsonl").size(), 101u);
}

}  // namespace
}  // namespace host
