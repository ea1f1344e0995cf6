#include "module/feature/remote_access_al.h"

#include <gtest/gtest.h>

#include <thread>

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess {
namespace {

using Calls = std::vector<std::string>;
using RemoteAccessALTest = FeatureInAgent;

TEST_F(RemoteAccessALTest, LivesThroughItsStepsInTheirOrder) {
  ASSERT_EQ(Init(), 0);
  manager.register_result = 1627;  // Only logged, as is the storage's refusal.
  ASSERT_EQ(feature.Start(), 0);
  EXPECT_EQ(calls.Take(), (Calls{"register with manager", "register with storage",
                                 "create socket manager", "register controller"}));
  feature.Stop();
  EXPECT_EQ(calls.Take(), (Calls{"unregister from manager", "unregister from storage", "stop host",
                                 "delete socket manager"}));
  feature.UnInit();
  // The connector is held to the end.
  EXPECT_EQ(calls.Take(), (Calls{"release RemoteTerminalManager", "release TsrSettings",
                                 "release Product.CentralizedStorage", "release Product.Matrix"}));
}

TEST_F(RemoteAccessALTest, NeedsThreeOfItsPluginsAndALivingConnector) {
  EXPECT_EQ(feature.Init(nullptr), 5002);
  for (const wchar_t* name : {L"RemoteTerminalManager", L"VeldConnector", L"TsrSettings"}) {
    const auto taken = plugins.extract(name);
    EXPECT_EQ(Init(), 5002);
    plugins[taken.key()] = taken.mapped();
  }
  plugins.erase(L"Product.CentralizedStorage");
  plugins.erase(L"Product.Matrix");
  ASSERT_EQ(Init(), 0);
  calls.Take();
  connector.refuses_manager = true;
  EXPECT_EQ(feature.Start(), 5002);
  connector.refuses_manager = false;
  connector.register_result = 5;
  EXPECT_EQ(feature.Start(), 5002);
  EXPECT_EQ(calls.Take(),
            (Calls{"register with manager", "create socket manager", "register with manager",
                   "create socket manager", "register controller"}));  // nothing is taken back
  connector.register_result = 0;
  EXPECT_EQ(feature.Start(), 0);
  EXPECT_EQ(feature.Start(), 0);
  feature.Stop();
  EXPECT_EQ(calls.Count("unregister from storage"), 0);
}

TEST_F(RemoteAccessALTest, HasOneFacePerInterfaceAndRefusesWhatItCannotDoYet) {
  EXPECT_EQ(feature.GetInterface(IRemoteAccess::kInterfaceId),
            static_cast<IRemoteAccess*>(&feature));
  for (const InterfaceId& id : {IServPlugin::kInterfaceId, IOrnBaseInterface::kInterfaceId}) {
    EXPECT_EQ(feature.GetInterface(id), static_cast<IServPlugin*>(&feature));
  }
  EXPECT_EQ(feature.GetInterface(InterfaceId{}), nullptr);
  EXPECT_EQ(feature.GetRpcModules(), Calls{"RemoteAccess"});
  EXPECT_EQ(feature.GetHostName(), L"TsrRemoteTerminalService");
  EXPECT_EQ(feature.GetProcessName(), L"TsrLowPrivilegeWorker.exe");
  OperationResponse response;
  StringT<wchar_t> message;
  ProcessExecutionResponse process;
  EXPECT_EQ(feature.StartDownload({}, response), 1359u);
  EXPECT_EQ(feature.CancelDownload({}, message), 1359u);
  EXPECT_EQ(feature.StartUploadArchive({}, response), 1359u);
  EXPECT_EQ(feature.CancelUpload({}, message), 1359u);
  EXPECT_EQ(feature.StartProcess({}, {}, process), 1359u);
  EXPECT_EQ(process.status, -1);
}

TEST_F(RemoteAccessALTest, SwitchingOffEndsTheTerminalsAndNothingElseDoes) {
  Run();
  ASSERT_EQ(Open("b"), 0);
  ASSERT_EQ(Open("a"), 0);
  feature.SetEnabled(true);
  List<TerminalSessionState> sessions;
  feature.GetActiveTerminalSessions(sessions);
  ASSERT_EQ(sessions.Size(), 2u);
  EXPECT_EQ(sessions.Front()->terminalId, "a");
  calls.Take();
  settings.fault = MemorySettings::Fault::kNoNode;  // The switch works without the store.
  EXPECT_EQ(feature.SetEnabled(false), 0u);
  EXPECT_EQ(calls.Take(), (Calls{"settings write", "destroy stream", "close a", "destroy stream",
                                 "close b", "a ended", "b ended"}));
  bool enabled = true;
  EXPECT_EQ(feature.GetEnabled(&enabled), 0u);
  EXPECT_FALSE(enabled);
  EXPECT_EQ(Open("c"), 21);
  EXPECT_EQ(feature.SetEnabled(false), 0u);
  feature.Stop();
}

// Every kind of observer is kept by the same rules.
struct Observer final : IRemoteAccess::IStateEvent,
                        IRemoteAccess::IFileOperationEvent,
                        IRemoteAccess::IProcessOperationsEvent {
  CallList* calls = nullptr;
  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState&) override {
    calls->Add("told");
    calls->WaitFor("go on");
    return 0;
  }
  uint32_t OnDownloadFinished(const DownloadMetadata&) override { return 0; }
  uint32_t OnUploadFinished(const UploadArchiveMetadata&) override { return 0; }
  uint32_t OnProcessFinished(const ProcessExecutionMetadata&) override { return 0; }
};

TEST_F(RemoteAccessALTest, KeepsEachObserverOnce) {
  Observer observer;
  const auto check = [&](auto enter, auto leave, auto* face) {
    EXPECT_EQ((feature.*enter)(nullptr, 0, 0), 87u);
    EXPECT_EQ((feature.*leave)(nullptr, 0, 0), 87u);
    EXPECT_EQ((feature.*leave)(face, 0, 0), 1627u);
    EXPECT_EQ((feature.*enter)(face, 0, 0), 0u);
    EXPECT_EQ((feature.*enter)(face, 0, 0), 1627u);
    EXPECT_EQ((feature.*leave)(face, 0, 0), 0u);
  };
  using AL = RemoteAccessAL;
  check(&AL::RegisterStateEvent, &AL::UnregisterStateEvent,
        static_cast<IRemoteAccess::IStateEvent*>(&observer));
  check(&AL::RegisterFileOperationEvent, &AL::UnregisterFileOperationEvent,
        static_cast<IRemoteAccess::IFileOperationEvent*>(&observer));
  check(&AL::RegisterProcessOperationsEvent, &AL::UnregisterProcessOperationsEvent,
        static_cast<IRemoteAccess::IProcessOperationsEvent*>(&observer));
}

TEST_F(RemoteAccessALTest, AnObserverThatIsGoneIsCalledNoMore) {
  Run();
  CallList seen;
  {
    Observer observer;
    observer.calls = &seen;
    feature.RegisterStateEvent(&observer, 0, 0);
    std::thread opener([&] { Open("a"); });
    seen.WaitFor("told");
    std::thread leaver([&] {
      feature.UnregisterStateEvent(&observer, 0, 0);
      seen.Add("gone");
    });
    EXPECT_EQ(seen.Count("gone"), 0);  // It waits for the call that runs.
    seen.Add("go on");
    opener.join();
    leaver.join();
  }
  feature.Stop();
  EXPECT_EQ(seen.Count("told"), 1);
}

}  // namespace
}  // namespace orn::RemoteAccess
