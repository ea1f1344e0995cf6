// The implementations behind the servers, "RemoteAccess.Fake" and "RemoteTerminalManager.Fake".

#include "tests/processes/targets.h"

#include <mutex>
#include <vector>

#include "module/feature/remote_access.h"
#include "module/frame/object_declaration.h"
#include "module/frame/plugin_interfaces.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace remote_calls {
namespace {

using namespace orn;
using namespace orn::RemoteAccess;

template <class I>
class Target : public IServPlugin, public I {
 public:
  virtual ~Target() = default;
  void* GetInterface(const InterfaceId& id) override {
    if (id == I::kInterfaceId) return static_cast<I*>(this);
    if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
      return static_cast<IServPlugin*>(this);
    }
    return nullptr;
  }
  int32_t Init(IServMain*) override { return 0; }
  void UnInit() override {}
  int32_t Start() override { return 0; }
  void Stop() override {}
};

class FakeRemoteAccess : public Target<IRemoteAccess> {
 public:
  // Tells the observers of runs, and then those of states, of a session with that state as its
  // name.
  uint32_t SetEnabled(bool enabled) override {
    IStateEvent::TerminalSessionState state;
    state.terminalId = enabled ? "on" : "off";
    const std::lock_guard lock(mutex_);
    IProcessOperationsEvent::ProcessExecutionMetadata run;
    run.runContext = run.upload.runContext = L"{}";
    for (IProcessOperationsEvent* observer : run_observers_)
      observer->OnProcessFinished(run);
    for (IStateEvent* observer : observers_)
      observer->OnTerminalSessionStateChanged(state);
    return 0;
  }
  uint32_t GetEnabled(bool* enabled) override { return *enabled = true, 0; }
  uint32_t GetActiveTerminalSessions(List<IStateEvent::TerminalSessionState>&) override {
    return 0;
  }
  uint32_t StartDownload(const DownloadInput&, OperationResponse&) override { return 0; }
  uint32_t CancelDownload(const StringT<wchar_t>& id, StringT<wchar_t>& message) override {
    if (id == L"die") TerminateProcess(GetCurrentProcess(), 77);
    if (id == L"hang") {
      SetEvent(SharedEvent(kBegun).get());
      WaitForSingleObject(SharedEvent(kGoOn).get(), INFINITE);
    }
    message = id;
    return 0;
  }
  uint32_t StartUploadArchive(const UploadArchiveInput&, OperationResponse&) override { return 0; }
  uint32_t CancelUpload(const StringT<wchar_t>&, StringT<wchar_t>&) override { return 0; }
  uint32_t StartProcess(const ProcessExecutionInput&, const UploadArchiveInput&,
                        ProcessExecutionResponse&) override {
    return 0;
  }
  uint32_t RegisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                          uint32_t) override {
    const std::lock_guard lock(mutex_);
    run_observers_.push_back(observer);
    return 0;
  }
  uint32_t RegisterFileOperationEvent(IFileOperationEvent*, uint32_t, uint32_t) override {
    return 0;
  }
  uint32_t RegisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override {
    const std::lock_guard lock(mutex_);
    observers_.push_back(observer);
    SetEvent(SharedEvent(kBegun).get());
    return 0;
  }
  uint32_t UnregisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                            uint32_t) override {
    const std::lock_guard lock(mutex_);
    std::erase(run_observers_, observer);
    return 0;
  }
  uint32_t UnregisterFileOperationEvent(IFileOperationEvent*, uint32_t, uint32_t) override {
    return 0;
  }
  uint32_t UnregisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override {
    const std::lock_guard lock(mutex_);
    std::erase(observers_, observer);
    return 0;
  }

 private:
  std::mutex mutex_;
  // Guarded by mutex_.
  std::vector<IStateEvent*> observers_;
  std::vector<IProcessOperationsEvent*> run_observers_;
};

class FakeManager : public Target<RemoteTerminal::IRemoteTerminalManager> {
 public:
  using Subscriber = IRemoteTerminalManagerNotifications;

  void UnInit() override {
    if (WaitForSingleObject(SharedEvent(kHold).get(), 0) != WAIT_OBJECT_0) return;
    SetEvent(SharedEvent(kBegun).get());
    WaitForSingleObject(SharedEvent(kGoOn).get(), INFINITE);
  }
  uint32_t OpenTerminal(const StringT<char>&, const RemoteTerminal::TerminalSize&,
                        StringT<wchar_t>&, StringT<wchar_t>&) override {
    return 0;
  }
  void CloseTerminal(const StringT<char>&) override {}
  uint32_t SetSize(const StringT<char>&, const RemoteTerminal::TerminalSize&) override { return 0; }
  uint32_t Register(Subscriber*) override { return 0; }
  uint32_t Unregister(Subscriber*) override { return 0; }
};

ExportedObjectDeclaration<FakeRemoteAccess> access{L"RemoteAccess.Fake"};
ExportedObjectDeclaration<FakeManager> manager{L"RemoteTerminalManager.Fake"};

}  // namespace
}  // namespace remote_calls
