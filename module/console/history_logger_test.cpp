#include "module/console/history_logger.h"

#include <algorithm>
#include <ctime>
#include <functional>
#include <thread>

#include "module/console/history_event.h"
#include "module/console/testing/console_in_agent.h"
#include "module/frame/testing/private_access.h"

namespace {

using orn::RemoteAccess::Console::HistoryLogger;
struct SessionsLock : PrivateMember<HistoryLogger, std::mutex> {};

}  // namespace

template struct Reveal<SessionsLock, &HistoryLogger::sessions_lock_>;

namespace orn::RemoteAccess::Console {
namespace {

struct HistoryLoggerTest : ConsoleInAgent, IHistory {
  std::vector<OnEndTerminalSession> records;
  uint32_t answer = 0;
  std::function<void()> while_adding = [] {};
  HistoryLogger logger;

  HistoryLoggerTest() { plugins[L"History.Logger"] = static_cast<IHistory*>(this); }

  uint32_t Add(const Event::Data* data, const wchar_t* name) override {
    EXPECT_TRUE(records.emplace_back().Decode(name, *data));
    EXPECT_EQ(data->values.Size(), 4u);
    while_adding();
    return answer;
  }
};

TEST_F(HistoryLoggerTest, EndsAreRecordedAsToldAndWhatIsOpenWithTheStop) {
  NeedsBoth(logger, L"History.Logger");
  feature.refusal = 1627;
  EXPECT_EQ(logger.Start(), 1627);
  feature.refusal = 0;
  ASSERT_EQ(logger.Start(), 0);
  const auto tell = [this](const auto&... session) {
    return logger.OnTerminalSessionStateChanged(Session(session...));
  };
  tell("a", true, 10);
  tell("b", true, 20);
  tell("b", true, 30);
  {  // The history refuses the record; meanwhile the id is taken anew, which the end then takes
     // out.
    answer = 5;
    while_adding = [&] { tell("a", true, 40); };
    EXPECT_EQ(tell("a", false, 10, 15), 0u);
    while_adding = [] {};
    answer = 0;
  }
  tell("never seen", false, 0, 0);
  tell("c", true, 50);
  while_adding = [this] {
    std::thread([this] { EXPECT_FALSE(Private<SessionsLock>(logger).try_lock()); }).join();
  };
  const int64_t before = std::time(nullptr);
  logger.Stop();
  EXPECT_TRUE(feature.state_observers.empty());
  ASSERT_EQ(records.size(), 4u);
  EXPECT_EQ(records[0].start_timestamp, 10);
  EXPECT_EQ(records[0].end_timestamp, 15);
  EXPECT_EQ(records[1].start_timestamp, 0);
  std::ranges::sort(records, {}, &OnEndTerminalSession::start_timestamp);
  EXPECT_EQ(records[2].start_timestamp, 30);
  EXPECT_EQ(records[3].start_timestamp, 50);
  for (const size_t open : {2, 3})
    EXPECT_GE(records[open].end_timestamp, before);

  // What was open stays, until its end is told.
  while_adding = [] {};
  EXPECT_EQ(logger.Start(), 0);
  tell("b", false, 30, 60);
  logger.Stop();
  EXPECT_EQ(records.size(), 6u);
  EXPECT_EQ(records[5].start_timestamp, 50);
  logger.UnInit();
  EXPECT_EQ(held, 0);
  tell("late", false, 1, 2);
  EXPECT_EQ(records.size(), 6u);
}

TEST(OnEndTerminalSession, TakesOnlyWholeRecordsOfItsOwn) {
  OnEndTerminalSession event;
  event.start_timestamp = 1;
  event.Encode();
  event.start_timestamp = -5'000'000'000;
  event.SetText(L"kept");
  ASSERT_TRUE(event.Encode());
  OnEndTerminalSession copy;
  ASSERT_TRUE(copy.Decode(L"RemoteAccess", event));
  EXPECT_EQ(copy.start_timestamp, -5'000'000'000);
  EXPECT_EQ(*copy.values.Find(-1), L"kept");
  EXPECT_FALSE(copy.Decode(L"remoteaccess", event));
  EXPECT_FALSE(copy.Decode(nullptr, event));
  for (const int32_t key : {0, 1, 2, 3}) {
    IHistory::Event::Data data = event;
    *data.values.Find(key) = L"x";
    EXPECT_FALSE(copy.Decode(L"RemoteAccess", data)) << key;
    data.values.Remove(key);
    EXPECT_FALSE(copy.Decode(L"RemoteAccess", data)) << key;
  }
  *event.values.Find(0) = L"1";
  EXPECT_FALSE(copy.Decode(L"RemoteAccess", event));
  EXPECT_FALSE(event.Send(nullptr));
}

}  // namespace
}  // namespace orn::RemoteAccess::Console
