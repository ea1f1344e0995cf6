#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/common/host_presence.h"
#include "host/plugins/common/fake_host.h"
#include "module/frame/exported_object.h"
#include "module/jobs/testing/child_roles.h"
#include "module/platform/event_queue.h"
#include "module/platform/messaging.h"
#include "module/platform/process_info_db.h"
#include "module/rpc/comm/testing/fake_remote_access.h"
#include "module/rpc/comm/testing/fake_terminal_manager.h"

// Both ends as they are deployed: a process each, and only what the libraries export.

namespace {

using namespace orn::RemoteAccess;    // NOLINT(google-build-using-namespace)
using namespace orn::RemoteTerminal;  // NOLINT(google-build-using-namespace)

// Tells of everything that it can tell of as soon as somebody listens.
struct TalkativeRemoteAccess final : FakeRemoteAccess {
  uint32_t RegisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override {
    observer->OnTerminalSessionStateChanged({"t", true, 1, 0});
    return 0;
  }
  uint32_t RegisterFileOperationEvent(IFileOperationEvent* observer, uint32_t, uint32_t) override {
    DownloadMetadata fetched;
    UploadArchiveMetadata sent;
    fetched.runContext = sent.runContext = L"{}";
    observer->OnDownloadFinished(fetched);
    observer->OnUploadFinished(sent);
    return 0;
  }
  uint32_t RegisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                          uint32_t) override {
    ProcessExecutionMetadata end;
    end.runContext = end.upload.runContext = L"{}";
    observer->OnProcessFinished(end);
    return 0;
  }
};

struct TalkativeTerminalManager final : FakeTerminalManager {
  uint32_t Register(Notifications* subscriber) override {
    subscriber->OnTerminalClosed("t");
    return FakeTerminalManager::Register(subscriber);
  }
};

// A host with the hub and the plug-ins that a server needs.
class Service {
 public:
  Service(const wchar_t* module, IOrnBaseInterface* target) {
    const std::wstring instance = L"comm-" + std::to_wstring(GetCurrentProcessId());
    SetEnvironmentVariableW(host::kInstanceVariable, instance.c_str());
    host_.SetOption(messaging::kChannelGateway, L"hub", L"true");
    host_.Add(module, target);
    Run(queue_, L"framework.dll", kGlobalEventQueue);
    Run(messaging_, L"messaging_tsr.dll", messaging::kChannelGateway);
    Run(processes_, L"AgentPlugins.dll", messaging::kProcessInfoDb);
    Run(server_, L"RemoteAccess.dll", (std::wstring(module) + L".Server").c_str());
  }
  ~Service() {
    for (ExportedObject<IServPlugin>* plugin : {&server_, &processes_, &messaging_, &queue_}) {
      plugin->get()->Stop();
      plugin->get()->UnInit();
    }
  }

 private:
  void Run(ExportedObject<IServPlugin>& plugin, const wchar_t* library, const wchar_t* name) {
    ASSERT_EQ(plugin.Load(library, name), 0u);
    ASSERT_EQ(plugin.get()->Init(&host_), 0);
    ASSERT_EQ(plugin.get()->Start(), 0);
    host_.Add(name, &plugin);
  }

  host::FakeHost host_;
  ExportedObject<IServPlugin> queue_;
  ExportedObject<IServPlugin> messaging_;
  ExportedObject<IServPlugin> processes_;
  ExportedObject<IServPlugin> server_;
};

// A client that has no host.
template <class I>
class LoneClient {
 public:
  explicit LoneClient(const wchar_t* module) {
    EXPECT_EQ(plugin_.Load(L"RemoteAccess.dll", module), 0u);
    EXPECT_EQ(plugin_.get()->Init(nullptr), 0);
  }
  ~LoneClient() { plugin_.get()->UnInit(); }
  I* operator->() { return static_cast<I*>(plugin_.GetInterface(I::kInterfaceId)); }

 private:
  ExportedObject<IServPlugin> plugin_;
};

struct Observer final : IRemoteAccess::IStateEvent,
                        IRemoteAccess::IFileOperationEvent,
                        IRemoteAccess::IProcessOperationsEvent,
                        IRemoteTerminalManager::IRemoteTerminalManagerNotifications {
  Semaphore heard;

  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState&) override { return Hear(); }
  uint32_t OnDownloadFinished(const DownloadMetadata&) override { return Hear(); }
  uint32_t OnUploadFinished(const UploadArchiveMetadata&) override { return Hear(); }
  uint32_t OnProcessFinished(const ProcessExecutionMetadata&) override { return Hear(); }
  void OnTerminalClosed(const orn::StringT<char>&) override { Hear(); }
  uint32_t Hear() { return heard.Release(), 0; }
};

CHILD_ROLE(CallsTheFeature) {
  LoneClient<IRemoteAccess> feature(L"RemoteAccess");
  EXPECT_EQ(feature->SetEnabled(true), 0u);
  bool enabled = false;
  EXPECT_EQ(feature->GetEnabled(&enabled), 0u);
  EXPECT_TRUE(enabled);
  orn::List<TerminalSessionState> sessions;
  EXPECT_EQ(feature->GetActiveTerminalSessions(sessions), 0u);
  EXPECT_EQ(sessions.Size(), 1000u);
  DownloadInput download;
  UploadArchiveInput upload;
  ProcessExecutionInput process;
  download.runContext = upload.runContext = process.runContext = L"1";
  OperationResponse response;
  EXPECT_EQ(feature->StartDownload(download, response), 0u);
  EXPECT_EQ(feature->StartUploadArchive(upload, response), 0u);
  EXPECT_EQ(response.message, L"done");
  orn::StringT<wchar_t> message;
  EXPECT_EQ(feature->CancelDownload(L"j", message), 0u);
  EXPECT_EQ(feature->CancelUpload(L"j", message), 0u);
  EXPECT_EQ(message, L"cancelled");
  ProcessExecutionResponse started;
  EXPECT_EQ(feature->StartProcess(process, upload, started), 0u);
  EXPECT_EQ(started.pid, 7u);

  Observer observer;
  EXPECT_EQ(feature->RegisterStateEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(feature->RegisterFileOperationEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(feature->RegisterProcessOperationsEvent(&observer, 0, 0), 0u);
  for (int i = 0; i < 4; ++i)
    observer.heard.Acquire();
  EXPECT_EQ(feature->UnregisterStateEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(feature->UnregisterFileOperationEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(feature->UnregisterProcessOperationsEvent(&observer, 0, 0), 0u);
  return testing::Test::HasFailure() ? 1 : 0;
}

TEST(TwoProcessesTest, TheFeatureIsCalledFromAnother) {
  TalkativeRemoteAccess feature;
  feature.sessions.resize(1000);
  feature.response = {L"done", L"1", L"j"};
  feature.message = L"cancelled";
  feature.started = {.status = 0, .pid = 7, .runContext = L"1"};
  const Service service(L"RemoteAccess", &feature);
  EXPECT_EQ(RunChild("CallsTheFeature"), 0u);
  EXPECT_EQ(feature.calls, 8);
  for (int i = 0; i < 3; ++i)
    feature.registered.Acquire();  // The child has taken its observers back.
}

CHILD_ROLE(CallsTheTerminalManager) {
  LoneClient<IRemoteTerminalManager> manager(L"RemoteTerminalManager");
  orn::StringT<wchar_t> conin;
  orn::StringT<wchar_t> conout;
  EXPECT_EQ(manager->OpenTerminal("t", {80, 25}, conin, conout), 183u);
  EXPECT_EQ(manager->SetSize("t", {81, 26}), 183u);
  manager->CloseTerminal("t");
  Observer observer;
  EXPECT_EQ(manager->Register(&observer), 0u);
  observer.heard.Acquire();
  // Goes without a word: its process ends, and so does the subscription.
  return testing::Test::HasFailure() ? 1 : 0;
}

TEST(TwoProcessesTest, TheTerminalManagerIsCalledFromAnother) {
  TalkativeTerminalManager manager;
  manager.status = 183;
  const Service service(L"RemoteTerminalManager", &manager);
  EXPECT_EQ(RunChild("CallsTheTerminalManager"), 0u);
  EXPECT_EQ(manager.calls,
            (std::vector<std::string>{"open t 80x25", "size t 81x26", "close t 0x0"}));
  manager.changed.Acquire();
  manager.changed.Acquire();
  EXPECT_TRUE(manager.subscribers.empty());
}

}  // namespace
