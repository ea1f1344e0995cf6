#include "module/console/active_task_provider.h"

#include "module/console/date_form.h"
#include "module/console/session_list.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/scope_guard.h"
#include "module/frame/utf.h"

namespace orn::RemoteAccess::Console {
namespace {

constexpr wchar_t kProvider[] = L"RemoteAccess.Console.ActiveTaskProvider";

}  // namespace

void* ActiveTaskProvider::GetInterface(const InterfaceId& id) {
  const bool is_served = id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId;
  return is_served ? static_cast<IServPlugin*>(this) : nullptr;
}

int32_t ActiveTaskProvider::Init(IServMain* main) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::ActiveTaskProvider::Init");
  ScopeGuard clean_up([this] { UnInit(); });
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  if (remote_access_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"Could not get RemoteAccess plugin.");
    return error::kMissingDependency;
  }
  if (tasks_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to load TaskManager plugin.");
    return error::kMissingDependency;
  }
  language_->SetHost(main);
  clean_up.Dismiss();
  return error::kSuccess;
}

void ActiveTaskProvider::UnInit() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::ActiveTaskProvider::UnInit");
  language_->SetHost(nullptr);
  remote_access_.Release();
  tasks_.Release();
}

int32_t ActiveTaskProvider::Start() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::ActiveTaskProvider::Start");
  ScopeGuard clean_up([this] { Stop(); });
  if (const uint32_t status = remote_access_->RegisterStateEvent(this, 0, 0);
      status != error::kSuccess) {
    ORN_LOG(logging::kError, trace.function(), L"Register to RemoteAccess failed.");
    return static_cast<int32_t>(status);
  }
  if (const uint32_t status = tasks_->RegisterProvider(kProvider, this);
      status != error::kSuccess) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to register to TaskManager plugin.");
    remote_access_->UnregisterStateEvent(this, 0, 0);
    return static_cast<int32_t>(status);
  }
  clean_up.Dismiss();
  RetrieveActiveTerminalSessions();
  return error::kSuccess;
}

void ActiveTaskProvider::Stop() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::ActiveTaskProvider::Stop");
  if (remote_access_) remote_access_->UnregisterStateEvent(this, 0, 0);
  if (tasks_) tasks_->UnregisterProvider(kProvider);
}

uint32_t ActiveTaskProvider::RetrieveActiveTerminalSessions() {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::Console::ActiveTaskProvider::RetrieveActiveTerminalSessions");
  SessionList sessions;
  const uint32_t status = GetSessions(remote_access_.get(), trace.function(), sessions);
  if (status != error::kSuccess) return status;
  ForEach(sessions,
          [this](const TerminalSessionState& session) { tasks_->AddTask(BuildTask(session), 0); });
  return error::kSuccess;
}

void ActiveTaskProvider::GetTasks(std::vector<Task>& tasks) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::ActiveTaskProvider::GetTasks");
  SessionList sessions;
  if (GetSessions(remote_access_.get(), trace.function(), sessions) != error::kSuccess) return;
  ForEach(sessions,
          [&tasks](const TerminalSessionState& session) { tasks.push_back(BuildTask(session)); });
}

uint32_t ActiveTaskProvider::OnTerminalSessionStateChanged(const TerminalSessionState& state) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::Console::ActiveTaskProvider::OnTerminalSessionStateChanged");
  if (!tasks_) {
    ORN_LOG(logging::kError, trace.function(), L"TaskManager plugin is not loaded.");
    return error::kMissingDependency;
  }
  if (state.isConnected) {
    tasks_->AddTask(BuildTask(state), 0);
  } else {
    tasks_->RemoveTask(ToWide(state.terminalId.view()).c_str());
  }
  return error::kSuccess;
}

ActiveTaskProvider::Task ActiveTaskProvider::BuildTask(const TerminalSessionState& state) {
  constexpr int32_t kFullStop = 46;
  const LanguageManager::Handle language;
  Task task;
  task.id = ToWide(state.terminalId.view());
  const StringT<wchar_t> date = FormatDate(state.startTimestamp);
  task.name = language->Translate(L"Remote Shell Connection");
  task.description = language->Translate(L"Administrator started a remote shell connection");
  language->AddPunctuation(task.description, kFullStop);
  task.description += L' ';
  task.description += language->Translate(L"Session Started:");
  const size_t last = task.description.view().find_last_not_of(L' ');
  task.description.UpdateLength(last + 1);
  task.description += L' ';
  task.description += date;
  return task;
}

}  // namespace orn::RemoteAccess::Console
