#include "module/telemetry/product_matrix_app.h"

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess::ProductMatrix {
namespace {

using ProductMatrixAppTest = FeatureInAgent;

TEST_F(ProductMatrixAppTest, TellsHowEachToolEnded) {
  ProductMatrixApp app;
  app.ProcessToolRanEventForOpenTerminal(0);  // Nobody hears it, nothing happens.
  app.Init(this);
  for (const int32_t status : {1229, 6, -1})
    app.ProcessToolRanEventForOpenTerminal(status);
  EXPECT_EQ(calls.Take(), (Calls{"telemetry InvalidStreamConnection",
                                 "telemetry InvalidTerminalConnection", "telemetry -1"}));
  app.ProcessToolRanEventForUpload("full", 8);
  EXPECT_EQ(JsonWriter().Write(last_event),
            R"({"event_name":"m_tool_ran","event_version":"1.0","exit_code":8,)"
            R"("exit_reason":"full","tool":"RemoteAccess.Upload"})"
            "\n");
}

}  // namespace
}  // namespace orn::RemoteAccess::ProductMatrix
