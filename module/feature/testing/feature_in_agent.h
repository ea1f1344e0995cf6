#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "module/feature/remote_access_al.h"
#include "module/feature/testing/call_list.h"
#include "module/feature/testing/memory_settings.h"
#include "module/feature/testing/recording_connector.h"
#include "module/terminal/testing/piped_terminal_manager.h"

namespace orn::RemoteAccess {

// The feature with a host process that is but two answers.
class HostedFeature final : public RemoteAccessAL {
 public:
  explicit HostedFeature(CallList& calls) : calls_(calls) {}

  uint32_t host_result = 0;

  uint32_t StartHost(const StartParams& params) override {
    EXPECT_TRUE(*params.job);
    calls_.Add("start host");
    return host_result;
  }
  uint32_t StopHost(uint32_t) override {
    calls_.Add("stop host");
    return 0;
  }

 private:
  CallList& calls_;
};

// The feature among stand-ins of all its plug-ins, each of which can be taken away
// (`plugins.erase`).
class FeatureInAgent : public testing::Test,
                       public IServMain,
                       public IComponentManager,
                       public Telemetry::ITelemetry,
                       public tsrsdk::Product::ICentralizedStorage,
                       public IRemoteAccess::IStateEvent {
 protected:
  CallList calls;
  MemorySettings settings{calls};
  RecordingConnector connector{calls};
  PipedTerminalManager manager{calls};
  std::map<std::wstring, void*> plugins{
      {L"RemoteTerminalManager", static_cast<RemoteTerminal::IRemoteTerminalManager*>(&manager)},
      {L"VeldConnector", static_cast<VeldConnector::IConnector*>(&connector)},
      {L"TsrSettings", static_cast<ITsrSettings*>(&settings)},
      {L"Product.CentralizedStorage", static_cast<ICentralizedStorage*>(this)},
      {L"Product.Matrix", static_cast<ITelemetry*>(this)}};
  Json::Value last_event;  // of telemetry
  HostedFeature feature{calls};

  int32_t Init() { return feature.Init(this); }
  void Run(bool enabled = true) {
    settings.stored = enabled;
    ASSERT_EQ(Init(), 0);
    ASSERT_EQ(feature.Start(), 0);
    feature.RegisterStateEvent(this, 0, 0);
    calls.Take();
  }
  // Returns the reply's code; -1 where it was left alone.
  int32_t Rpc(const std::string& method, const std::string& parameters) {
    VeldConnector::Rpc::Reply reply{.text = "", .code = -1};
    EXPECT_EQ(feature.OnRpcMethod({"RemoteAccess", method, "1", parameters}, reply), 0u);
    return reply.code;
  }
  int32_t Open(const std::string& id) {
    return Rpc("OpenTerminal", R"({"streamId":")" + id + R"("})");
  }

 private:
  IComponentManager* GetComponentManager() override { return this; }
  uint32_t GetObject(const wchar_t* name, const InterfaceId&, void** object) override {
    const auto found = plugins.find(name);
    *object = found == plugins.end() ? nullptr : found->second;
    return *object == nullptr ? 1168 : 0;
  }
  void ReleaseObject(const wchar_t* name) override { calls.Add("release " + Narrow(name)); }
  uint32_t Send(const Json::Value& event, uint32_t) override {
    calls.Add("telemetry " + event["exit_reason"].asString());
    last_event = event;
    return 0;
  }
  uint32_t RegisterFileManagerEvent(IFileManagerEvent*) override {
    calls.Add("register with storage");
    return 5;
  }
  uint32_t UnregisterFileManagerEvent(IFileManagerEvent*) override {
    calls.Add("unregister from storage");
    return 0;
  }
  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override {
    calls.Add(state.terminalId.c_str() + std::string(state.isConnected ? " began" : " ended") +
              (state.startTimestamp == 0 ? " unknown" : ""));
    return 0;
  }
  static std::string Narrow(const std::wstring& text) { return {text.begin(), text.end()}; }
};

}  // namespace orn::RemoteAccess
