#include "module/terminal/json_rpc_front.h"

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess {
namespace {

using JsonRpcFrontTest = FeatureInAgent;

TEST_F(JsonRpcFrontTest, EveryWayToOpenATerminalOrNotHasItsCodes) {
  Run(/*enabled=*/false);
  const auto check = [&](const std::string& parameters, int32_t code, const Calls& expected) {
    EXPECT_EQ(OpenWith(parameters), code) << parameters;
    EXPECT_EQ(calls.Take(), expected) << parameters;
  };
  const std::string good = R"({"streamId":"a"})";
  check(good, 21, {"settings read", "telemetry FeatureDisabled"});
  feature.SetEnabled(true);
  calls.Take();
  feature.host_result = 126;
  check(good, 126, {"start host", "telemetry HostIsStopped"});
  feature.host_result = 0;
  check("no JSON", 0, {"start host", "telemetry InvalidParameters"});
  check(std::string(5000, '['), 0, {"telemetry InvalidParameters"});
  for (const char* bad : {"{}", "[]", "5", R"({"streamId":""})", R"({"streamId":{"a":1}})"})
    check(bad, 87, {"telemetry InvalidParameters"});
  manager.open_result = 183;
  for (const char* size : {R"({"cols":132})", R"({"cols":-1,"rows":"50"})", "[132,50]"}) {
    check(R"({"streamId":7,"inactivityTimeout":{},"size":)" + std::string(size) + "}", 183,
          {"open 7 80x24", "telemetry TerminalStartFailed"});
  }
  manager.open_result = 0;
  check(R"({"streamId":"a","size":{"cols":0,"rows":4294967295}})", 0,
        {"open a 0x4294967295", "telemetry success", "a began"});
  feature.Stop();
}

TEST_F(JsonRpcFrontTest, AStreamThatIsNotThereEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  Run();
  EXPECT_EXIT(Open("none"), testing::ExitedWithCode(3), "");
  feature.Stop();
}

}  // namespace
}  // namespace orn::RemoteAccess
