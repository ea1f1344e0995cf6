#include "module/terminal/json_rpc_front.h"

#include <gtest/gtest.h>

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess {
namespace {

using Calls = std::vector<std::string>;
using JsonRpcFrontTest = FeatureInAgent;

TEST_F(JsonRpcFrontTest, AnswersWhatIsNoTerminal) {
  Run();
  VeldConnector::Rpc::Reply reply{.text = "as it was", .code = 7};
  for (const char* module : {"remoteaccess", "", "RemoteAccess "}) {
    EXPECT_EQ(feature.OnRpcMethod({module, "GetCurrentPath", "1", ""}, reply), 3u);
  }
  for (const char* method : {"Nope", "openterminal", "", "PrevalidateDownloadPath"}) {
    EXPECT_EQ(feature.OnRpcMethod({"RemoteAccess", method, "1", "{}"}, reply), 0u);
  }
  EXPECT_EQ(reply.text, "as it was");
  EXPECT_EQ(reply.code, 7);
  EXPECT_EQ(feature.OnRpcMethod({"RemoteAccess", "GetCurrentPath", "1", "{"}, reply), 0u);
  EXPECT_EQ(reply.text, "{\"code\":50,\"message\":\"not supported\"}\n");
  EXPECT_EQ(reply.code, 50);
  EXPECT_EQ(calls.Take(), Calls{});
  feature.Stop();
}

TEST_F(JsonRpcFrontTest, EveryWayNotToOpenATerminalHasItsCodes) {
  Run(/*enabled=*/false);
  EXPECT_EQ(Open("a"), 21);
  EXPECT_EQ(calls.Take(), (Calls{"settings read", "telemetry FeatureDisabled"}));
  feature.SetEnabled(true);
  calls.Take();
  feature.host_result = 126;
  EXPECT_EQ(Open("a"), 126);
  EXPECT_EQ(calls.Take(), (Calls{"start host", "telemetry HostIsStopped"}));
  feature.host_result = 0;
  EXPECT_EQ(Rpc("OpenTerminal", "no JSON"), 0);
  EXPECT_EQ(calls.Take(), (Calls{"start host", "telemetry InvalidParameters"}));
  for (const char* parameters : {"{}", "[]", "5", "null", R"({"streamId":""})",
                                 R"({"streamId":{"a":1}})", R"({"streamId":null})"}) {
    EXPECT_EQ(Rpc("OpenTerminal", parameters), 87) << parameters;
    EXPECT_EQ(calls.Take(), Calls{"telemetry InvalidParameters"});
  }
  EXPECT_EQ(Rpc("OpenTerminal", std::string(5000, '[')), 0);
  manager.open_result = 1627;
  EXPECT_EQ(Open("a"), 1627);
  manager.open_result = 0;
  EXPECT_EQ(Open("a"), 0);
  calls.Take();
  EXPECT_EQ(Open("a"), 183);
  EXPECT_EQ(calls.Take(), (Calls{"open a 80x24", "telemetry TerminalStartFailed"}));
  feature.SetEnabled(false);  // the host stays
  feature.SetEnabled(true);
  EXPECT_EQ(Open("a"), 0);
  EXPECT_EQ(calls.Count("start host"), 0);
  feature.Stop();
}

TEST_F(JsonRpcFrontTest, TakesASizeOnlyWhole) {
  Run();
  const std::pair<const char*, const char*> sizes[] = {
      {R"({"cols":132,"rows":50})", "132x50"},
      {R"({"cols":132})", "80x24"},
      {R"({"cols":"132","rows":50})", "80x24"},
      {R"({"cols":-1,"rows":50})", "80x24"},
      {R"([132,50])", "80x24"},
      {R"({"cols":0,"rows":4294967295})", "0x4294967295"}};
  for (const auto& [size, taken] : sizes) {
    EXPECT_EQ(Rpc("OpenTerminal",
                  std::string(R"({"streamId":7,"inactivityTimeout":{},"size":)") + size + "}"),
              0);
    EXPECT_EQ(calls.Count(std::string("open 7 ") + taken), 1) << size;
    feature.OnDisconnect();
    calls.Take();
  }
  EXPECT_EQ(Rpc("OpenTerminal", R"({"streamId":"i","inactivityTimeout":0})"), 0);
  calls.WaitFor("i ended");
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
