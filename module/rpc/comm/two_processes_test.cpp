#include <gtest/gtest.h>

#include <future>

#include "host/common/host_presence.h"
#include "host/plugins/common/fake_host.h"
#include "module/frame/exported_object.h"
#include "module/jobs/testing/child_roles.h"
#include "module/platform/event_queue.h"
#include "module/platform/messaging.h"
#include "module/platform/process_info_db.h"
#include "module/rpc/comm/testing/fake_remote_access.h"
#include "module/rpc/comm/testing/fake_terminal_manager.h"
#include "module/rpc/comm/testing/listener.h"

// Both ends as they are deployed: a process each, and only what the libraries export.

namespace orn::RemoteAccess {
namespace {

using messaging::rpc::testing::listener;
using RemoteTerminal::IRemoteTerminalManager;

// The host with the hub and both servers.
struct Service {
  host::FakeHost host;
  FakeRemoteAccess feature;
  RemoteTerminal::FakeTerminalManager manager;
  ExportedObject<IServPlugin> plugins[5];
  size_t count = 0;

  Service() {
    const std::wstring instance = L"comm-" + std::to_wstring(GetCurrentProcessId());
    SetEnvironmentVariableW(host::kInstanceVariable, instance.c_str());
    host.SetOption(messaging::kChannelGateway, L"hub", L"true");
    host.Add(L"RemoteAccess", &feature);
    host.Add(L"RemoteTerminalManager", &manager);
    Run(L"framework.dll", kGlobalEventQueue);
    Run(L"messaging_tsr.dll", messaging::kChannelGateway);
    Run(L"AgentPlugins.dll", messaging::kProcessInfoDb);
    Run(L"RemoteAccess.dll", L"RemoteAccess.Server");
    Run(L"RemoteAccess.dll", L"RemoteTerminalManager.Server");
  }
  ~Service() {
    while (count-- > 0) {
      plugins[count].get()->Stop();
      plugins[count].get()->UnInit();
    }
  }
  void Run(const wchar_t* library, const wchar_t* name) {
    ExportedObject<IServPlugin>& plugin = plugins[count];
    ASSERT_EQ(plugin.Load(library, name), 0u);
    ASSERT_EQ(plugin.get()->Init(&host), 0);
    ASSERT_EQ(plugin.get()->Start(), 0);
    host.Add(name, &plugin);
    ++count;
  }
};

// A client that has no host.
template <class I>
struct LoneClient {
  ExportedObject<IServPlugin> plugin;

  explicit LoneClient(const wchar_t* module) {
    EXPECT_EQ(plugin.Load(L"RemoteAccess.dll", module), 0u);
    EXPECT_EQ(plugin.get()->Init(nullptr), 0);
  }
  ~LoneClient() { plugin.get()->UnInit(); }
  I* operator->() { return static_cast<I*>(plugin.GetInterface(I::kInterfaceId)); }
};

CHILD_ROLE(CallsEverything) {
  LoneClient<IRemoteAccess> feature(L"RemoteAccess");
  LoneClient<IRemoteTerminalManager> manager(L"RemoteTerminalManager");
  bool enabled = false;
  List<TerminalSessionState> sessions;
  DownloadInput download;
  UploadArchiveInput upload;
  ProcessExecutionInput process;
  download.runContext = upload.runContext = process.runContext = L"1";
  OperationResponse response;
  ProcessExecutionResponse started;
  StringT<wchar_t> text;
  EXPECT_EQ(feature->SetEnabled(true), 0u);
  EXPECT_EQ(feature->GetEnabled(&enabled), 0u);
  EXPECT_EQ(feature->GetActiveTerminalSessions(sessions), 0u);
  EXPECT_EQ(feature->StartDownload(download, response), 0u);
  EXPECT_EQ(feature->StartUploadArchive(upload, response), 0u);
  EXPECT_EQ(feature->CancelDownload(L"j", text), 0u);
  EXPECT_EQ(feature->CancelUpload(L"j", text), 0u);
  EXPECT_EQ(feature->StartProcess(process, upload, started), 0u);
  EXPECT_TRUE(enabled && sessions.Size() == 1000 && response.message == L"done");
  EXPECT_EQ(manager->OpenTerminal("t", {80, 25}, text, text), 183u);
  EXPECT_EQ(manager->SetSize("t", {81, 26}), 183u);
  manager->CloseTerminal("t");

  listener observer;
  EXPECT_EQ(feature->RegisterStateEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(feature->RegisterFileOperationEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(feature->RegisterProcessOperationsEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(manager->Register(&observer), 0u);
  observer.await(5);
  EXPECT_EQ(feature->UnregisterFileOperationEvent(&observer, 0, 0), 0u);
  // The others go with the process.
  return ::testing::Test::HasFailure() ? 1 : 0;
}

TEST(TwoProcessesTest, BothInterfacesAreCalledFromAnother) {
  Service service;
  FakeRemoteAccess& feature = service.feature;
  RemoteTerminal::FakeTerminalManager& manager = service.manager;
  feature.sessions.resize(1000);
  feature.response = {L"done", L"1", L"j"};
  feature.started.runContext = L"1";
  manager.status = 183;
  auto child = std::async(std::launch::async, [] { return RunChild("CallsEverything"); });

  const auto await_registrations = [&] {
    for (int i = 0; i < 3; ++i)
      feature.registered.Acquire();
    manager.changed.Acquire();
  };
  await_registrations();
  DownloadMetadata download;
  UploadArchiveMetadata upload;
  ProcessExecutionMetadata process;
  download.runContext = upload.runContext = process.runContext = process.upload.runContext = L"{}";
  feature.state_observers[0]->OnTerminalSessionStateChanged({});
  feature.file_observers[0]->OnDownloadFinished(download);
  feature.file_observers[0]->OnUploadFinished(upload);
  feature.process_observers[0]->OnProcessFinished(process);
  manager.subscribers[0]->OnTerminalClosed("t");
  await_registrations();
  EXPECT_EQ(child.get(), 0u);
  EXPECT_EQ(feature.calls, 8);
  EXPECT_EQ(manager.calls.size(), 3u);
  EXPECT_TRUE(feature.state_observers.empty() && manager.subscribers.empty());
}

}  // namespace
}  // namespace orn::RemoteAccess
