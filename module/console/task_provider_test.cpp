#include "module/console/task_provider.h"

#include "module/console/testing/console_in_agent.h"
#include "module/frame/testing/json_text.h"

namespace orn::RemoteAccess::Console {
namespace {

constexpr const wchar_t* kMethod = L"GetOngoingTerminalSessions";

struct TaskProviderTest : ConsoleInAgent, ConsoleIntegration::IManager {
  std::vector<ConsoleIntegration::IAgent*> agents;
  uint32_t window_refusal = 0;
  std::string pushed;
  TaskProvider provider;

  uint32_t Register(ConsoleIntegration::IAgent* agent) override {
    if (window_refusal == 0) agents.push_back(agent);
    return window_refusal;
  }
  uint32_t Unregister(ConsoleIntegration::IAgent* agent) override {
    return std::erase(agents, agent) != 0 ? 0 : 1168;
  }
  uint32_t SendEvent(const wchar_t* name, const wchar_t* method, const Json::Value& v) override {
    EXPECT_EQ(name + std::wstring(L".") + method, L"RemoteAccess.SetActiveTerminalSessions");
    pushed = Write(v);
    return 5;
  }
  std::string Push(const char* id, bool connected, int64_t start) {
    EXPECT_EQ(provider.OnTerminalSessionStateChanged({id, connected, start}), 0u);
    return std::exchange(pushed, "");
  }
  // The status with which the call is completed and its result.
  std::string Run(const wchar_t* name, const char* result = "null", bool has_result = true) {
    struct Method final : ConsoleIntegration::IMethod {
      const wchar_t* name;
      Json::Value result;
      bool has_result;
      std::string completed;
      const wchar_t* GetName() override { return name; }
      void Reserved1() override {}
      void Reserved2() override {}
      Json::Value* GetResult() override { return has_result ? &result : nullptr; }
      void Complete(int32_t status) override { completed += std::to_string(status); }
    } method;
    method.name = name;
    method.result = Parse(result);
    method.has_result = has_result;
    provider.RunMethod(&method);
    return method.completed + " " + Write(method.result);
  }
};

TEST_F(TaskProviderTest, TheWindowGetsAllOpenSessionsWithEachChangeAndWhenItAsks) {
  plugins[L"Console.MainWindow"] = static_cast<ConsoleIntegration::IManager*>(this);
  NeedsFeatureAnd(L"Console.MainWindow", provider);
  window_refusal = 183;
  EXPECT_EQ(provider.Start(), 183);
  EXPECT_TRUE(state_observers.empty());
  window_refusal = 0;
  status = 2250;  // The open sessions cannot be asked for.
  EXPECT_EQ(provider.Start(), 0);
  provider.Stop();
  EXPECT_TRUE(agents.empty());
  status = 0;
  EXPECT_EQ(Run(kMethod), R"(0 {"sessions":[]})");
  sessions = {{"a", true, 10}};
  ASSERT_EQ(provider.Start(), 0);
  EXPECT_EQ(Run(kMethod, "[1]"), R"(0 {"sessions":[{"startTimestamp":10}]})");
  EXPECT_EQ(Run(kMethod, "null", /*has_result=*/false), "0 null");
  EXPECT_EQ(Push("never seen", false, 1), R"({"sessions":[{"startTimestamp":10}]})");
  EXPECT_EQ(Push("a", true, 5'000'000'000), R"({"sessions":[{"startTimestamp":5000000000}]})");
  // What is known keeps its time when it is asked for anew, and stays.
  provider.Stop();
  sessions = {{"a", true, 30}, {"b", true, 40}};
  ASSERT_EQ(provider.Start(), 0);
  EXPECT_EQ(Push("b", false, 40), R"({"sessions":[{"startTimestamp":5000000000}]})");
  EXPECT_EQ(Push("a", false, 0), R"({"sessions":[]})");

  EXPECT_EQ(Run(L"getOngoingTerminalSessions"), "4317 null");
  EXPECT_EQ(Run(nullptr), " null");
  provider.RunMethod(nullptr);
  provider.UnInit();
  EXPECT_EQ(Push("c", true, 50), "");
  EXPECT_EQ(Run(kMethod), R"(0 {"sessions":[]})");
}

}  // namespace
}  // namespace orn::RemoteAccess::Console
