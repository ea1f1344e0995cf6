#include "module/terminal/terminal_sessions.h"

#include <gtest/gtest.h>

#include <thread>

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess {
namespace {

using Calls = std::vector<std::string>;
using TerminalSessionsTest = FeatureInAgent;

TEST_F(TerminalSessionsTest, TheConsoleEndsItsSession) {
  Run();
  Open("a");
  EXPECT_EQ(calls.Take(),
            (Calls{"settings read", "start host", "open a 80x24", "telemetry success", "a began"}));
  connector.streams["a"].Deliver(R"({"type":"resize","resize":{"cols":9,"rows":8}})");
  connector.streams["a"].Deliver(R"({"type":"streamStop"})");
  calls.WaitFor("a ended");
  EXPECT_EQ(calls.Take(), (Calls{"size a 9x8", "destroy stream", "close a", "a ended"}));
  EXPECT_EQ(connector.streams["a"].sent.Take(),
            (Calls{"resize {\"cols\":9,\"rows\":8}\n", "streamStop {\"reason\":0}\n"}));
  feature.Stop();
}

TEST_F(TerminalSessionsTest, AShellThatExitsTakesItsSessionAlong) {
  Run();
  Open("a");
  manager.consoles.at("a").Close();
  calls.Take();
  feature.OnTerminalClosed("a");
  calls.WaitFor("a ended");
  EXPECT_EQ(calls.Take(), (Calls{"destroy stream", "a ended"}));
  EXPECT_EQ(connector.streams["a"].sent.Take(), Calls{"streamStop {\"reason\":0}\n"});
  feature.Stop();
}

TEST_F(TerminalSessionsTest, BothEndsAtOnceMakeOneCleanupAndTwoNotices) {
  Run();
  for (int round = 0; round < 20; ++round) {
    const std::string id = "a" + std::to_string(round);
    Open(id);
    calls.Take();
    std::thread near_end;
    if (round % 2 == 0) {
      // What the stream's thread asks for comes first: the other order is not survived.
      connector.streams[id].Deliver(R"({"type":"streamStop"})");
    } else {
      near_end = std::thread([&] { feature.OnTerminalFinished(id.c_str()); });
    }
    feature.OnTerminalClosed(id.c_str());
    if (near_end.joinable()) near_end.join();
    calls.WaitFor(id + " ended");
    calls.WaitFor(id + " ended unknown");
    EXPECT_EQ(calls.Count("destroy stream"), 1);
    EXPECT_LE(calls.Count("close " + id), 1);
  }
  feature.Stop();
}

TEST_F(TerminalSessionsTest, ALostConnectionEndsAllSessionsInTheirOrder) {
  Run();
  feature.OnDisconnect();
  EXPECT_EQ(calls.Take(), Calls{});
  for (const char* id : {"b", "a", "c"})
    Open(id);
  connector.streams["b"].Refuse("streamStop", 9);
  calls.Take();
  feature.OnConnect();
  feature.OnDisconnect();
  EXPECT_EQ(calls.Take(), (Calls{"destroy stream", "close a", "destroy stream", "close b",
                                 "destroy stream", "close c", "a ended", "b ended", "c ended"}));
  feature.Stop();
}

TEST_F(TerminalSessionsTest, AFailedSendEndsItsSessionAndStopWaitsForIt) {
  Run();
  Open("a");
  Open("b");
  connector.streams["a"].Refuse("data", 8);
  manager.consoles.at("a").Print("x");
  calls.WaitFor("a ended");
  calls.Take();
  manager.consoles.at("b").Print("y");
  connector.streams["b"].sent.WaitFor("data {\"encodedBuffer\":\"eQ==\"}\n");
  feature.OnTerminalFinished("b");
  feature.Stop();  // The cleanup may have come first, or the stop.
  EXPECT_EQ(calls.Count("destroy stream"), 1);
  EXPECT_EQ(calls.Count("b ended"), 1);
}

TEST_F(TerminalSessionsTest, MessagesOfOthersReachASessionWhileItIsThere) {
  ServPlugin<RemoteTerminal::IRemoteTerminalManager> plugin(L"RemoteTerminalManager");
  plugin.GetPlugin(this);
  StateObservers observers;
  const ProductMatrix::ProductMatrixApp telemetry;
  TerminalSessions sessions(plugin, feature, observers, telemetry);
  sessions.SetSocketManager(connector.CreateSocketManager(nullptr));
  ASSERT_EQ(sessions.Open("a", {80, 24}, 300), 0u);
  EXPECT_TRUE(sessions.IsTerminalAvailable("a"));
  EXPECT_FALSE(sessions.IsTerminalAvailable("b"));
  sessions.SendMessageOverStream("a", "type", "content");
  sessions.SendMessageOverStream("b", "type", "lost");
  sessions.CleanupTerminals();
  sessions.SendMessageOverStream("a", "type", "too late");
  EXPECT_EQ(connector.streams["a"].sent.Take(),
            (Calls{"type content", "streamStop {\"reason\":0}\n"}));
}

}  // namespace
}  // namespace orn::RemoteAccess
