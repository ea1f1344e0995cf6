#include "module/console/history_logger.h"

#include <algorithm>
#include <functional>
#include <thread>

#include "module/console/history_event.h"
#include "module/console/testing/console_in_agent.h"
#include "module/frame/testing/private_access.h"

REVEAL(SessionsLock, orn::RemoteAccess::Console::HistoryLogger, std::mutex, sessions_lock_);

namespace orn::RemoteAccess::Console {
namespace {

struct HistoryLoggerTest : ConsoleInAgent, IHistory {
  std::vector<OnEndTerminalSession> records;
  uint32_t answer = 0;
  std::function<void()> while_adding = [] {};
  HistoryLogger logger;

  uint32_t Add(const Event::Data* data, const wchar_t* name) override {
    EXPECT_TRUE(records.emplace_back().Decode(name, *data));
    while_adding();
    return answer;
  }
  void Tell(const char* id, bool connected, int64_t start, int64_t end = 0) {
    EXPECT_EQ(logger.OnTerminalSessionStateChanged({id, connected, start, end}), 0u);
  }
};

TEST_F(HistoryLoggerTest, EndsAreRecordedAsToldAndWhatIsOpenWithTheStop) {
  plugins[L"History.Logger"] = static_cast<IHistory*>(this);
  NeedsFeatureAnd(L"History.Logger", logger);
  ASSERT_EQ(logger.Start(), 0);
  Tell("a", true, 10);
  Tell("b", true, 20);
  Tell("b", true, 30);
  // The history refuses the record; meanwhile the id is taken anew, which the end then takes out.
  answer = 5;
  while_adding = [&] { Tell("a", true, 40); };
  Tell("a", false, 10, 15);
  answer = 0;
  while_adding = [] {};
  Tell("never seen", false, 0);
  Tell("c", true, 50);
  while_adding = [this] {
    std::thread([this] { EXPECT_FALSE(Private<SessionsLock>(logger).try_lock()); }).join();
  };
  logger.Stop();
  EXPECT_TRUE(state_observers.empty());
  ASSERT_EQ(records.size(), 4u);
  std::ranges::sort(records, {}, &OnEndTerminalSession::start_timestamp);
  constexpr int64_t kStarts[] = {0, 10, 30, 50};
  for (size_t i = 0; i < 4; ++i)
    EXPECT_EQ(records[i].start_timestamp, kStarts[i]);
  EXPECT_EQ(records[1].end_timestamp, 15);
  EXPECT_GT(records[2].end_timestamp, 1'700'000'000);

  // What was open stays, until its end is told.
  while_adding = [] {};
  EXPECT_EQ(logger.Start(), 0);
  Tell("b", false, 30, 60);
  logger.Stop();
  logger.UnInit();
  EXPECT_EQ(held, 0);
  Tell("late", false, 1, 2);
  ASSERT_EQ(records.size(), 6u);
  EXPECT_EQ(records[5].start_timestamp, 50);
}

}  // namespace
}  // namespace orn::RemoteAccess::Console
