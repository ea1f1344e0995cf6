#include "module/terminal/terminal_sessions.h"

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess {
namespace {

using TerminalSessionsTest = FeatureInAgent;

TEST_F(TerminalSessionsTest, BothEndsAtOnceMakeOneCleanupAndTwoNotices) {
  Run();
  for (int round = 0; round < 20; ++round) {
    const std::string id = std::to_string(round);
    Open(id);
    calls.Take();
    // What the stream's thread asks for comes first: the other order is not survived.
    const bool from_stream = round % 2 == 0;
    if (from_stream) connector.streams[id].Deliver(R"({"type":"streamStop"})");
    std::thread near_end([&] {
      if (!from_stream) feature.OnTerminalFinished(id.c_str());
    });
    feature.OnTerminalClosed(id.c_str());
    near_end.join();
    calls.WaitFor(id + " ended unknown");
    const Calls seen = calls.Take();
    EXPECT_EQ(std::ranges::count(seen, "destroy stream"), 1);
    EXPECT_EQ(std::ranges::count(seen, id + " ended"), 1);
  }
  feature.Stop();
}

}  // namespace
}  // namespace orn::RemoteAccess
