#include "module/agent/remote_access_agent.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/plugins/common/fake_host.h"
#include "module/frame/testing/json_text.h"
#include "module/frame/utf.h"
#include "module/rpc/comm/testing/fake_remote_access.h"

namespace orn::RemoteAccess {
namespace {

using Calls = std::vector<std::string>;

// The agent between a feature and a manager that writes down what it is told.
class RemoteAccessAgentTest : public testing::Test,
                              protected IOrnBaseInterface,
                              protected EnterpriseIntegration::IManager,
                              protected EnterpriseIntegration::IAgentStatusSink {
 protected:
  Calls calls;
  bool manager_takes = true;
  FakeRemoteAccess feature;
  host::FakeHost host;
  RemoteAccessAgent agent;

  RemoteAccessAgentTest() { AddPlugins(); }
  void AddPlugins() {
    host.Add(L"RemoteAccess", &feature);
    host.Add(L"EndpointIntegration.Manager", this);
  }
  Calls Take() { return std::exchange(calls, {}); }

  // The status that the method completes with, its output behind.
  std::string Run(const wchar_t* name, const std::string& input, bool has_output = true) {
    struct Call final : EnterpriseIntegration::IPolicyMethodCall {
      const wchar_t* name;
      Json::Value input, output;
      bool has_output;
      std::string completed;
      const wchar_t* GetMethodName() override { return name; }
      const wchar_t* GetDisplayName() override { return nullptr; }
      Json::Value* GetInput() override { return &input; }
      Json::Value* GetOutput() override { return has_output ? &output : nullptr; }
      void Complete(int32_t status) override { completed += std::to_string(status); }
    } call;
    call.name = name;
    call.has_output = has_output;
    call.input = Parse(input);
    agent.RunPolicyMethod(&call);
    return call.completed + (call.output.isNull() ? "" : " " + Write(call.output));
  }

  void* GetInterface(const InterfaceId&) override {
    return static_cast<EnterpriseIntegration::IManager*>(this);
  }
  bool SendEvent(const wchar_t* name, Json::Value& payload, uint32_t) override {
    calls.push_back(std::string(ToUtf8(name).c_str()) + " " + Write(payload));
    return manager_takes;
  }
  void NotifyStatusChanged(uint32_t options) override {
    calls.push_back("status changed " + std::to_string(options));
  }
  bool RegisterAgent(EnterpriseIntegration::IAgent*) override {
    calls.emplace_back("register");
    return manager_takes;
  }
  void UnregisterAgent(EnterpriseIntegration::IAgent*) override {
    calls.emplace_back("unregister");
  }
  void OnStatus(const EnterpriseIntegration::AgentStatus& status) override {
    calls.push_back(ToUtf8(status.name.view()).c_str() +
                    std::string(status.enabled ? " on" : " off"));
  }
};

TEST_F(RemoteAccessAgentTest, LivesBetweenItsTwoPluginsAndGivesBothBack) {
  EXPECT_EQ(Run(L"GetEnabled", "{}"), "21");
  EXPECT_EQ(agent.Start(), 1627);
  EXPECT_EQ(agent.Init(nullptr), 5002);
  for (const wchar_t* name : {L"RemoteAccess", L"EndpointIntegration.Manager"}) {
    host.Add(name, nullptr);
    EXPECT_EQ(agent.Init(&host), 5002);
    EXPECT_EQ(host.references(), 0);
    AddPlugins();
  }
  ASSERT_EQ(agent.Init(&host), 0);

  manager_takes = false;  // The feature's observers hide it.
  EXPECT_EQ(agent.Start(), 0);
  EXPECT_EQ(feature.file_observers.size() + feature.process_observers.size(), 2u);
  agent.Stop();
  EXPECT_TRUE(feature.file_observers.empty() && feature.process_observers.empty());
  manager_takes = true;
  EXPECT_EQ(agent.Start(), 0);
  agent.UnInit();
  EXPECT_EQ(Take(), (Calls{"register", "register", "unregister"}));
  EXPECT_EQ(host.references(), 0);
  EXPECT_EQ(agent.OnUploadFinished({}), 5002u);
  EXPECT_EQ(Run(L"GetEnabled", "{}"), "21");
}

TEST_F(RemoteAccessAgentTest, SwitchTellsOnlyOfAChange) {
  ASSERT_EQ(agent.Init(&host), 0);
  agent.RunPolicyMethod(nullptr);
  EXPECT_EQ(Run(nullptr, "{}"), "13");
  EXPECT_EQ(Run(L"GetEnabled", "{}", /*has_output=*/false), "13");
  EXPECT_EQ(Run(L"SetEnabled", R"({"enabled":1})"), "0");
  EXPECT_EQ(Run(L"SetEnabled", R"({"enabled":true})"), "0");
  agent.GetStatus(0, this);
  feature.status = 5;
  EXPECT_EQ(Run(L"SetEnabled", R"({"enabled":false})"), "5");
  agent.GetStatus(0, this);
  EXPECT_EQ(Take(), (Calls{"status changed 1", "RemoteAccess on", "RemoteAccess off"}));
}

TEST_F(RemoteAccessAgentTest, ReportsGoOutAsFarAsTheyCanBeWritten) {
  ASSERT_EQ(agent.Init(&host), 0);
  ProcessExecutionMetadata metadata;
  metadata.exitCode = -1;
  metadata.reason = static_cast<ProcessExecutionMetadata::Reason>(9);
  EXPECT_EQ(agent.OnProcessFinished(metadata), 0u);
  EXPECT_EQ(Take(), (Calls{R"(RemoteAccess.ProcessFinished {"data":{"exitCode":-1}})"}));
  manager_takes = false;
  EXPECT_EQ(agent.OnDownloadFinished({}), 1627u);
  EXPECT_EQ(agent.OnUploadFinished({}), 1627u);
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_TRUE(calls[0].starts_with("RemoteAccess.DownloadFinished {\"data\":{\"central"))
      << calls[0];
  EXPECT_TRUE(calls[1].starts_with("RemoteAccess.UploadFinished {\"data\":{\"central")) << calls[1];
}

}  // namespace
}  // namespace orn::RemoteAccess
