#include "module/terminal/terminal_sessions.h"

#include <thread>

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess {
namespace {

using Calls = std::vector<std::string>;
using TerminalSessionsTest = FeatureInAgent;

TEST_F(TerminalSessionsTest, ASessionEndsFromEitherSide) {
  Run();
  Open("a");
  EXPECT_EQ(calls.Take(),
            (Calls{"settings read", "start host", "open a 80x24", "telemetry success", "a began"}));
  connector.streams["a"].Deliver(R"({"type":"resize","resize":{"cols":9,"rows":8}})");
  connector.streams["a"].Deliver(R"({"type":"streamError"})");
  calls.WaitFor("a ended");
  EXPECT_EQ(calls.Take(), (Calls{"size a 9x8", "destroy stream", "close a", "a ended"}));
  Open("b");
  calls.Take();
  feature.OnTerminalClosed("b");
  calls.WaitFor("b ended");
  EXPECT_EQ(calls.Take(), (Calls{"destroy stream", "b ended"}));
  EXPECT_EQ(connector.streams["b"].sent.Take(), Calls{"streamStop {\"reason\":0}\n"});
  feature.Stop();
}

TEST_F(TerminalSessionsTest, BothEndsAtOnceMakeOneCleanupAndTwoNotices) {
  Run();
  for (int round = 0; round < 20; ++round) {
    Open(std::to_string(round));
    calls.Take();
    const StringT<char> id = std::to_string(round).c_str();
    std::thread near_end;
    if (round % 2 == 0) {
      // What the stream's thread asks for comes first: the other order is not survived.
      connector.streams[id.c_str()].Deliver(R"({"type":"streamStop"})");
    } else {
      near_end = std::thread([&] { feature.OnTerminalFinished(id); });
    }
    feature.OnTerminalClosed(id);
    if (near_end.joinable()) near_end.join();
    calls.WaitFor(id.c_str() + std::string(" ended unknown"));
    const Calls seen = calls.Take();
    EXPECT_EQ(std::ranges::count(seen, "destroy stream"), 1);
    EXPECT_EQ(std::ranges::count(seen, id.c_str() + std::string(" ended")), 1);
  }
  feature.Stop();
}

TEST_F(TerminalSessionsTest, StopEndsWhatIsLeftWhileACleanupRuns) {
  Run();
  for (const char* id : {"b", "a"})
    Open(id);
  connector.streams["a"].Refuse("data", 8);
  manager.consoles.at("a").Print("x");
  calls.WaitFor("a ended");
  feature.OnTerminalFinished("b");
  feature.Stop();
  const Calls seen = calls.Take();
  EXPECT_EQ(std::ranges::count(seen, "destroy stream"), 2);
  EXPECT_EQ(std::ranges::count(seen, "b ended"), 1);
}

TEST_F(TerminalSessionsTest, MessagesOfOthersReachASessionWhileItIsThere) {
  ServPlugin<RemoteTerminal::IRemoteTerminalManager> plugin(L"RemoteTerminalManager");
  plugin.GetPlugin(this);
  StateObservers observers;
  const ProductMatrix::ProductMatrixApp telemetry;
  TerminalSessions sessions(plugin, feature, observers, telemetry);
  sessions.SetSocketManager(&connector);
  ASSERT_EQ(sessions.Open("a", {80, 24}, 300), 0u);
  EXPECT_TRUE(sessions.IsTerminalAvailable("a"));
  sessions.SendMessageOverStream("a", "type", "content");
  sessions.SendMessageOverStream("b", "type", "lost");
  sessions.CleanupTerminals();
  EXPECT_FALSE(sessions.IsTerminalAvailable("a"));
  sessions.SendMessageOverStream("a", "type", "too late");
  EXPECT_EQ(connector.streams["a"].sent.Take(),
            (Calls{"type content", "streamStop {\"reason\":0}\n"}));
}

}  // namespace
}  // namespace orn::RemoteAccess
