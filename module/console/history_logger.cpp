#include "module/console/history_logger.h"

#include <ctime>

#include "module/console/history_event.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/scope_guard.h"

namespace orn::RemoteAccess::Console {

void* HistoryLogger::GetInterface(const InterfaceId& id) {
  const bool is_served = id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId;
  return is_served ? static_cast<IServPlugin*>(this) : nullptr;
}

int32_t HistoryLogger::Init(IServMain* main) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::HistoryLogger::Init");
  ScopeGuard clean_up([this] { UnInit(); });
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  if (remote_access_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"Could not get RemoteAccess plugin.");
    return error::kMissingDependency;
  }
  if (history_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"Could not get History plugin.");
    return error::kMissingDependency;
  }
  clean_up.Dismiss();
  return error::kSuccess;
}

void HistoryLogger::UnInit() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::HistoryLogger::UnInit");
  remote_access_.Release();
  history_.Release();
}

int32_t HistoryLogger::Start() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::HistoryLogger::Start");
  const uint32_t status = remote_access_->RegisterStateEvent(this, 0, 0);
  if (status != error::kSuccess) {
    ORN_LOG(logging::kError, trace.function(), L"Register to RemoteAccess failed.");
    Stop();
  }
  return static_cast<int32_t>(status);
}

void HistoryLogger::Stop() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::HistoryLogger::Stop");
  if (remote_access_) remote_access_->UnregisterStateEvent(this, 0, 0);
  const std::lock_guard lock(sessions_lock_);
  for (auto& [id, state] : active_sessions_) {
    state.isConnected = false;
    state.endTimestamp = std::time(nullptr);
    SendEvent(state);
  }
}

uint32_t HistoryLogger::OnTerminalSessionStateChanged(const TerminalSessionState& state) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::Console::HistoryLogger::OnTerminalSessionStateChanged");
  if (state.isConnected) {
    const std::lock_guard lock(sessions_lock_);
    active_sessions_[state.terminalId] = state;
    return error::kSuccess;
  }
  // Without the lock: a slow history does not hold up the bookkeeping.
  SendEvent(state);
  const std::lock_guard lock(sessions_lock_);
  active_sessions_.erase(state.terminalId);
  return error::kSuccess;
}

void HistoryLogger::SendEvent(const TerminalSessionState& state) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::HistoryLogger::SendEvent");
  if (!history_) {
    ORN_LOG(logging::kError, trace.function(), L"Invalid History Plugin.");
    return;
  }
  OnEndTerminalSession event;
  event.start_timestamp = state.startTimestamp;
  event.end_timestamp = state.endTimestamp;
  const bool sent = event.Send(history_.get());
  ORN_LOG(sent ? logging::kInformation : logging::kWarning, trace.function(),
          L"Generating EndTerminalSession console event %s.", sent ? L"succeeded" : L"failed");
}

}  // namespace orn::RemoteAccess::Console
