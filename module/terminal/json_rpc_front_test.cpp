#include "module/terminal/json_rpc_front.h"

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess {
namespace {

using JsonRpcFrontTest = FeatureInAgent;

TEST_F(JsonRpcFrontTest, AnswersWhatIsNoTerminal) {
  VeldConnector::Rpc::Reply reply{.text = "as it was", .code = 7};
  EXPECT_EQ(feature.OnRpcMethod({"remoteaccess", "GetCurrentPath", "1", ""}, reply), 3u);
  EXPECT_EQ(feature.OnRpcMethod({"RemoteAccess", "openterminal", "1", "{}"}, reply), 0u);
  EXPECT_EQ(reply.text + std::to_string(reply.code), "as it was7");
  EXPECT_EQ(feature.OnRpcMethod({"RemoteAccess", "GetCurrentPath", "1", "{"}, reply), 0u);
  EXPECT_EQ(reply.text, "{\"code\":50,\"message\":\"not supported\"}\n");
  EXPECT_EQ(reply.code, 50);
}

TEST_F(JsonRpcFrontTest, EveryWayNotToOpenATerminalHasItsCodes) {
  Run(/*enabled=*/false);
  const auto check = [&](int32_t code, const Calls& expected) {
    EXPECT_EQ(Open("a"), code);
    EXPECT_EQ(calls.Take(), expected);
  };
  check(21, {"settings read", "telemetry FeatureDisabled"});
  feature.SetEnabled(true);
  calls.Take();
  feature.host_result = 126;
  check(126, {"start host", "telemetry HostIsStopped"});
  feature.host_result = 0;
  EXPECT_EQ(OpenWith("no JSON"), 0);
  EXPECT_EQ(calls.Take(), (Calls{"start host", "telemetry InvalidParameters"}));
  EXPECT_EQ(OpenWith(std::string(5000, '[')), 0);
  for (const char* parameters : {"{}", "[]", "5", R"({"streamId":""})", R"({"streamId":{"a":1}})"})
    EXPECT_EQ(OpenWith(parameters), 87) << parameters;
  EXPECT_EQ(calls.Take(), Calls(6, "telemetry InvalidParameters"));
  manager.open_result = 183;
  check(183, {"open a 80x24", "telemetry TerminalStartFailed"});
  manager.open_result = 0;
  check(0, {"open a 80x24", "telemetry success", "a began"});
  feature.Stop();
}

TEST_F(JsonRpcFrontTest, TakesASizeOnlyWhole) {
  Run();
  const std::pair<const char*, const char*> sizes[] = {
      {R"({"cols":132})", "80x24"},
      {R"({"cols":-1,"rows":"50"})", "80x24"},
      {R"([132,50])", "80x24"},
      {R"({"cols":0,"rows":4294967295})", "0x4294967295"}};
  for (const auto& [size, taken] : sizes) {
    const std::string parameters = R"({"streamId":7,"inactivityTimeout":{},"size":)";
    EXPECT_EQ(OpenWith(parameters + size + "}"), 0);
    feature.OnDisconnect();
    EXPECT_EQ(std::ranges::count(calls.Take(), std::string("open 7 ") + taken), 1) << size;
  }
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
