#include "module/telemetry/product_matrix_app.h"

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess::ProductMatrix {
namespace {

using ProductMatrixAppTest = FeatureInAgent;

TEST_F(ProductMatrixAppTest, TellsHowEachToolEnded) {
  ProductMatrixApp app;
  app.ProcessToolRanEventForOpenTerminal(0);  // Nobody hears it, nothing happens.
  app.Init(this);
  const std::pair<int32_t, const char*> reasons[] = {{1260, "FeatureDisabled"},
                                                     {1232, "HostIsStopped"},
                                                     {1627, "TerminalStartFailed"},
                                                     {1229, "InvalidStreamConnection"},
                                                     {6, "InvalidTerminalConnection"},
                                                     {87, "InvalidParameters"},
                                                     {0, "success"},
                                                     {-1, "-1"}};
  for (const auto& [status, reason] : reasons) {
    app.ProcessToolRanEventForOpenTerminal(status);
    EXPECT_EQ(calls.Take().back(), std::string("telemetry ") + reason);
  }
  app.ProcessToolRanEventForUpload("full", 8);
  EXPECT_EQ(JsonWriter().Write(last_event),
            R"({"event_name":"m_tool_ran","event_version":"1.0","exit_code":8,)"
            R"("exit_reason":"full","tool":"RemoteAccess.Upload"})"
            "\n");
}

}  // namespace
}  // namespace orn::RemoteAccess::ProductMatrix
