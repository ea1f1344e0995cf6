#pragma once

#include <gtest/gtest.h>

#include "module/feature/remote_access_al.h"
#include "module/feature/testing/memory_settings.h"
#include "module/feature/testing/recording_connector.h"
#include "module/feature/testing/recording_storage.h"
#include "module/terminal/testing/piped_terminal_manager.h"

namespace orn::RemoteAccess {

// The feature with a host process that is but two answers.
struct HostedFeature final : RemoteAccessAL {
  explicit HostedFeature(CallList& list) : calls(list) {}

  CallList& calls;
  uint32_t host_result = 0;

  uint32_t StartHost(const StartParams& params) override {
    EXPECT_TRUE(*params.job);
    return calls.Add("start host", host_result);
  }
  uint32_t StopHost(uint32_t) override { return calls.Add("stop host"); }
};

// The feature among stand-ins of all its plug-ins, each of which can be taken away
// (`plugins.erase`).
struct FeatureInAgent : testing::Test,
                        IServMain,
                        IComponentManager,
                        Telemetry::ITelemetry,
                        IRemoteAccess::IStateEvent {
  CallList calls;
  MemorySettings settings{calls};
  RecordingConnector connector{calls};
  PipedTerminalManager manager{calls};
  RecordingStorage storage{calls};
  std::map<std::wstring, void*> plugins{
      {L"RemoteTerminalManager", static_cast<RemoteTerminal::IRemoteTerminalManager*>(&manager)},
      {L"VeldConnector", static_cast<VeldConnector::IConnector*>(&connector)},
      {L"TsrSettings", static_cast<ITsrSettings*>(&settings)},
      {L"Product.CentralizedStorage", static_cast<tsrsdk::Product::ICentralizedStorage*>(&storage)},
      {L"Product.Matrix", static_cast<ITelemetry*>(this)}};
  Json::Value last_event;  // of telemetry
  HostedFeature feature{calls};

  void Run(bool enabled = true) {
    settings.stored = enabled;
    ASSERT_EQ(feature.Init(this), 0);
    ASSERT_EQ(feature.Start(), 0);
    feature.RegisterStateEvent(this, 0, 0);
    calls.Take();
  }
  // Returns the reply's code; -1 where it was left alone.
  int32_t OpenWith(const std::string& parameters) {
    VeldConnector::Rpc::Reply reply{.text = "", .code = -1};
    EXPECT_EQ(feature.OnRpcMethod({"RemoteAccess", "OpenTerminal", "1", parameters}, reply), 0u);
    return reply.code;
  }
  int32_t Open(const std::string& id) { return OpenWith(R"({"streamId":")" + id + R"("})"); }

  IComponentManager* GetComponentManager() override { return this; }
  uint32_t GetObject(const wchar_t* name, const InterfaceId&, void** object) override {
    const auto found = plugins.find(name);
    *object = found == plugins.end() ? nullptr : found->second;
    return *object == nullptr ? 1168 : 0;
  }
  void ReleaseObject(const wchar_t* name) override {
    const std::wstring_view text(name);
    calls.Add("release " + std::string(text.begin(), text.end()));
  }
  uint32_t Send(const Json::Value& event, uint32_t) override {
    last_event = event;
    return calls.Add("telemetry " + event["exit_reason"].asString());
  }
  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override {
    return calls.Add(state.terminalId.c_str() +
                     std::string(state.isConnected ? " began" : " ended") +
                     (state.startTimestamp == 0 ? " unknown" : ""));
  }
};

}  // namespace orn::RemoteAccess
