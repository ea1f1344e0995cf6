// The implementations behind the servers, "RemoteAccess.Fake" and "RemoteTerminalManager.Fake".

#include "tests/processes/targets.h"

#include "module/frame/object_declaration.h"
#include "module/rpc/comm/testing/fake_remote_access.h"
#include "module/rpc/comm/testing/fake_terminal_manager.h"

namespace remote_calls {
namespace {

using namespace orn;
using namespace orn::RemoteAccess;

class Access final : public FakeRemoteAccess {
 public:
  // Tells the observers of runs, and then those of states, of a session with that state as its
  // name.
  uint32_t SetEnabled(bool on) override {
    IStateEvent::TerminalSessionState state;
    state.terminalId = on ? "on" : "off";
    IProcessOperationsEvent::ProcessExecutionMetadata run;
    run.runContext = run.upload.runContext = L"{}";
    const std::lock_guard lock(mutex);
    for (IProcessOperationsEvent* observer : process_observers)
      observer->OnProcessFinished(run);
    for (IStateEvent* observer : state_observers)
      observer->OnTerminalSessionStateChanged(state);
    return 0;
  }
  uint32_t CancelDownload(const StringT<wchar_t>& id, StringT<wchar_t>& text) override {
    if (id == L"die") TerminateProcess(GetCurrentProcess(), 77);
    text = id;
    return 0;
  }
  uint32_t RegisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override {
    FakeRemoteAccess::RegisterStateEvent(observer, 0, 0);
    SetEvent(SharedEvent(kBegun).get());
    return 0;
  }
};

class Manager final : public RemoteTerminal::FakeTerminalManager {
 public:
  void UnInit() override {
    if (WaitForSingleObject(SharedEvent(kHold).get(), 0) != WAIT_OBJECT_0) return;
    SetEvent(SharedEvent(kBegun).get());
    WaitForSingleObject(SharedEvent(kGoOn).get(), INFINITE);
  }
};

ExportedObjectDeclaration<Access> access{L"RemoteAccess.Fake"};
ExportedObjectDeclaration<Manager> manager{L"RemoteTerminalManager.Fake"};

}  // namespace
}  // namespace remote_calls
