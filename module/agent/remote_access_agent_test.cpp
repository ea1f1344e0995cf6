#include "module/agent/remote_access_agent.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/frame/error_codes.h"
#include "module/frame/json.h"
#include "module/frame/utf.h"

namespace orn::RemoteAccess {
namespace {

using Calls = std::vector<std::string>;

std::string Write(const Json::Value& value) {
  JsonWriter writer;
  writer.OmitEndingLineFeed();
  return writer.Write(value);
}

// The agent between a manager and a feature that write down what they are told.
class RemoteAccessAgentTest : public testing::Test,
                              protected IServMain,
                              protected IComponentManager,
                              protected IRemoteAccess,
                              protected EnterpriseIntegration::IManager,
                              protected EnterpriseIntegration::IAgentStatusSink {
 protected:
  Calls calls;
  bool has_manager = true, has_feature = true, manager_takes = true;
  bool enabled = false;
  uint32_t result = 0;  // of the feature's operations
  RemoteAccessAgent agent;

  uint32_t Add(const std::string& call, uint32_t code = 0) {
    calls.push_back(call);
    return code;
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
    EXPECT_TRUE(JsonReader().Parse(input, call.input)) << input;
    agent.RunPolicyMethod(&call);
    return call.completed + (call.output.isNull() ? "" : " " + Write(call.output));
  }

  IComponentManager* GetComponentManager() override { return this; }
  uint32_t GetObject(const wchar_t* name, const InterfaceId&, void** object) override {
    const bool is_feature = name == std::wstring_view(L"RemoteAccess");
    *object = is_feature ? static_cast<void*>(static_cast<IRemoteAccess*>(this))
                         : static_cast<EnterpriseIntegration::IManager*>(this);
    if (!(is_feature ? has_feature : has_manager)) *object = nullptr;
    return *object == nullptr ? error::kNotFound : 0;
  }
  void ReleaseObject(const wchar_t* name) override {
    Add(std::string("release ") + ToUtf8(name).c_str());
  }

  bool SendEvent(const wchar_t* name, Json::Value& payload, uint32_t) override {
    Add(std::string(ToUtf8(name).c_str()) + " " + Write(payload));
    return manager_takes;
  }
  void NotifyStatusChanged(uint32_t options) override {
    Add("status changed " + std::to_string(options));
  }
  bool RegisterAgent(EnterpriseIntegration::IAgent*) override {
    Add("register");
    return manager_takes;
  }
  void UnregisterAgent(EnterpriseIntegration::IAgent*) override { Add("unregister"); }
  void OnStatus(const EnterpriseIntegration::AgentStatus& status) override {
    Add(ToUtf8(status.name.view()).c_str() + std::string(status.enabled ? " on" : " off"));
  }

  uint32_t SetEnabled(bool value) override {
    if (result == 0) enabled = value;
    return Add(value ? "on" : "off", result);
  }
  uint32_t GetEnabled(bool* value) override {
    *value = enabled;
    return result;
  }
  uint32_t GetActiveTerminalSessions(List<IStateEvent::TerminalSessionState>&) override {
    return 0;
  }
  uint32_t StartDownload(const DownloadInput& input, OperationResponse& output) override {
    output = {.message = L"m", .runContext = input.runContext, .jobId = input.jobId};
    return Add("download " + std::to_string(input.items.size()), result);
  }
  uint32_t CancelDownload(const StringT<wchar_t>& id, StringT<wchar_t>& message) override {
    message = L"gone";
    return Add(std::string("cancel ") + ToUtf8(id.view()).c_str(), result);
  }
  uint32_t StartUploadArchive(const UploadArchiveInput& input, OperationResponse& output) override {
    output.jobId = input.jobId;
    return Add("upload", result);
  }
  uint32_t CancelUpload(const StringT<wchar_t>&, StringT<wchar_t>&) override { return result; }
  uint32_t StartProcess(const ProcessExecutionInput& input, const UploadArchiveInput& upload,
                        ProcessExecutionResponse& output) override {
    output = {.status = 7, .pid = 4294967295, .runContext = upload.runContext};
    return Add(std::string("run ") + ToUtf8(input.commandLine.view()).c_str(), result);
  }
  uint32_t RegisterProcessOperationsEvent(IProcessOperationsEvent*, uint32_t, uint32_t) override {
    return Add("observe runs");
  }
  uint32_t RegisterFileOperationEvent(IFileOperationEvent*, uint32_t, uint32_t) override {
    return Add("observe files", result);
  }
  uint32_t RegisterStateEvent(IStateEvent*, uint32_t, uint32_t) override { return 0; }
  uint32_t UnregisterProcessOperationsEvent(IProcessOperationsEvent*, uint32_t, uint32_t) override {
    return Add("leave runs");
  }
  uint32_t UnregisterFileOperationEvent(IFileOperationEvent*, uint32_t, uint32_t) override {
    return Add("leave files");
  }
  uint32_t UnregisterStateEvent(IStateEvent*, uint32_t, uint32_t) override { return 0; }
};

TEST_F(RemoteAccessAgentTest, LivesBetweenItsTwoPluginsAndGivesBothBack) {
  EXPECT_EQ(Run(L"GetEnabled", "{}"), "21");
  EXPECT_EQ(agent.Start(), 1627);
  EXPECT_EQ(agent.Init(nullptr), 5002);
  has_manager = false;
  EXPECT_EQ(agent.Init(this), 5002);
  has_manager = true;
  has_feature = false;
  EXPECT_EQ(agent.Init(this), 5002);
  EXPECT_EQ(Take(), (Calls{"release EndpointIntegration.Manager"}));
  has_feature = true;
  ASSERT_EQ(agent.Init(this), 0);

  manager_takes = false;  // The feature's observers hide it.
  EXPECT_EQ(agent.Start(), 0);
  agent.Stop();
  result = 5;
  EXPECT_EQ(agent.Start(), 5);
  EXPECT_EQ(Take(), (Calls{"register", "observe files", "observe runs", "leave files", "leave runs",
                           "register", "observe files"}));
  result = 0;
  manager_takes = true;
  EXPECT_EQ(agent.Start(), 0);
  Take();
  agent.UnInit();
  EXPECT_EQ(Take(),
            (Calls{"unregister", "release EndpointIntegration.Manager", "release RemoteAccess"}));
  EXPECT_EQ(agent.OnUploadFinished({}), 5002u);
  EXPECT_EQ(Run(L"GetEnabled", "{}"), "21");
}

TEST_F(RemoteAccessAgentTest, SwitchTellsOnlyOfAChange) {
  ASSERT_EQ(agent.Init(this), 0);
  List<StringT<wchar_t>> names;
  EXPECT_EQ(agent.GetPolicyNames(names), 0u);
  EXPECT_EQ(*names.Front(), L"RemoteAccess");
  agent.RunPolicyMethod(nullptr);
  EXPECT_EQ(Run(L"SetEnabled", R"({"enabled":"true"})"), "160");
  EXPECT_EQ(Run(L"SetEnabled", "[1]"), "160");
  EXPECT_EQ(Run(L"setenabled", R"({"enabled":true})"), "4317");
  EXPECT_EQ(Run(nullptr, "{}"), "13");
  EXPECT_EQ(Run(L"GetEnabled", "{}", /*has_output=*/false), "13");
  EXPECT_TRUE(Take().empty());
  EXPECT_EQ(Run(L"SetEnabled", R"({"enabled":1})"), "0");
  EXPECT_EQ(Run(L"SetEnabled", R"({"enabled":true})"), "0");
  EXPECT_EQ(Run(L"GetEnabled", "{}"), "0 {\"enabled\":true}");
  agent.GetStatus(0, this);
  result = 5;
  EXPECT_EQ(Run(L"SetEnabled", R"({"enabled":false})"), "5");
  agent.GetStatus(0, this);
  EXPECT_EQ(Take(),
            (Calls{"on", "status changed 1", "on", "RemoteAccess on", "off", "RemoteAccess off"}));
}

TEST_F(RemoteAccessAgentTest, JobsAnswerWithTheirStatusAndRunsOnlyWhenTheyStart) {
  ASSERT_EQ(agent.Init(this), 0);
  const std::string upload =
      R"("timeout":0,"name":"n","password":"","streamId":"","items":[],"jobId":"j",
         "centralizedStorage":{"profile":"p","postItems":[]},"runContext":)";
  const auto run = [&](const std::string& command, const std::string& timeout) {
    return Run(L"StartProcess", R"({"execute":{"commandLine":")" + command + R"(","timeout":)" +
                                    timeout + R"(,"outputPath":"","workingDir":""},
                                    "runContext":1,"startUploadArchive":{)" +
                                    upload + "2}}");
  };
  result = 1260;
  EXPECT_EQ(Run(L"StartDownload", "{" + upload + "[3]}"),
            R"(1260 {"jobId":"j","message":"m","runContext":[3]})");
  EXPECT_EQ(Run(L"StartUploadArchive", "{" + upload + "3}"),
            R"(1260 {"jobId":"j","message":"","runContext":null})");
  EXPECT_EQ(Run(L"StartDownload", "{" + upload + "null}"), "160");
  EXPECT_EQ(Run(L"CancelDownload", R"({"jobId":5})"), R"(1260 {"jobId":"5","message":"gone"})");
  EXPECT_EQ(Run(L"CancelUpload", R"({"jobId":true})"), "160");
  EXPECT_EQ(run("c", "1"), "160");
  result = 0;
  EXPECT_EQ(run("c", "1"), R"(7 {"pid":4294967295,"runContext":2})");
  EXPECT_EQ(run("", "1"), "160");
  EXPECT_EQ(run("c", "0"), "160");
  EXPECT_EQ(Run(L"StartProcess", R"({"execute":{"commandLine":"c","timeout":1,"outputPath":"",
                                     "workingDir":""},"runContext":1})"),
            "160");
  EXPECT_EQ(Take(), (Calls{"download 0", "upload", "cancel 5", "run c", "run c"}));
}

TEST_F(RemoteAccessAgentTest, ReportsGoOutAsFarAsTheyCanBeWritten) {
  ASSERT_EQ(agent.Init(this), 0);
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
