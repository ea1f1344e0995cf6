#include "module/console/task_provider.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "module/console/session_list.h"
#include "module/frame/error_codes.h"
#include "module/frame/json_path.h"
#include "module/frame/log.h"
#include "module/frame/scope_guard.h"

namespace orn::RemoteAccess::Console {
namespace {

constexpr wchar_t kFeature[] = L"RemoteAccess";

bool SetSessions(const std::vector<int64_t>& start_times, Json::Value* value) {
  Json::Value sessions(Json::arrayValue);
  for (const int64_t time : start_times) {
    Json::Value session(Json::objectValue);
    session["startTimestamp"] = Json::Value(Json::Int64{time});
    sessions.append(std::move(session));
  }
  return SetJson(std::move(sessions), value, "sessions");
}

}  // namespace

void* TaskProvider::GetInterface(const InterfaceId& id) {
  const bool is_served = id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId;
  return is_served ? static_cast<IServPlugin*>(this) : nullptr;
}

int32_t TaskProvider::Init(IServMain* main) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::TaskProvider::Init");
  ScopeGuard clean_up([this] { UnInit(); });
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  if (remote_access_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"Could not get RemoteAccess plugin.");
    return error::kMissingDependency;
  }
  if (console_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kError, trace.function(),
            L"Could not get Console Integration Manager plugin.");
    return error::kMissingDependency;
  }
  clean_up.Dismiss();
  return error::kSuccess;
}

void TaskProvider::UnInit() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::TaskProvider::UnInit");
  remote_access_.Release();
  console_.Release();
}

int32_t TaskProvider::Start() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::TaskProvider::Start");
  ScopeGuard clean_up([this] { Stop(); });
  if (const uint32_t status = remote_access_->RegisterStateEvent(this, 0, 0);
      status != error::kSuccess) {
    ORN_LOG(logging::kError, trace.function(), L"Register to RemoteAccess failed.");
    return static_cast<int32_t>(status);
  }
  if (const uint32_t status = console_->Register(this); status != error::kSuccess) {
    ORN_LOG(logging::kError, trace.function(), L"Register to Console Integration Manager failed.");
    return static_cast<int32_t>(status);
  }
  clean_up.Dismiss();
  RetrieveActiveTerminalSessions();
  return error::kSuccess;
}

void TaskProvider::Stop() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::TaskProvider::Stop");
  if (remote_access_) remote_access_->UnregisterStateEvent(this, 0, 0);
  if (console_) console_->Unregister(this);
}

uint32_t TaskProvider::RetrieveActiveTerminalSessions() {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::Console::TaskProvider::RetrieveActiveTerminalSessions");
  SessionList sessions;
  const uint32_t status = GetSessions(remote_access_.get(), trace.function(), sessions);
  if (status != error::kSuccess) return status;
  const std::lock_guard lock(sessions_lock_);
  ForEach(sessions, [this](const TerminalSessionState& session) {
    active_sessions_.emplace(session.terminalId, session.startTimestamp);
  });
  return error::kSuccess;
}

uint32_t TaskProvider::OnTerminalSessionStateChanged(const TerminalSessionState& state) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::Console::TaskProvider::OnTerminalSessionStateChanged");
  if (!console_) {
    ORN_LOG(logging::kError, trace.function(), L"Invalid Console Integration Manager.");
    return error::kSuccess;
  }
  {
    const std::lock_guard lock(sessions_lock_);
    if (state.isConnected) {
      active_sessions_[state.terminalId] = state.startTimestamp;
    } else {
      active_sessions_.erase(state.terminalId);
    }
  }
  Json::Value value;
  SetSessions(GetStartTimes(), &value);
  console_->SendEvent(kFeature, L"SetActiveTerminalSessions", value);
  return error::kSuccess;
}

std::vector<int64_t> TaskProvider::GetStartTimes() {
  const std::lock_guard lock(sessions_lock_);
  std::vector<int64_t> times;
  times.reserve(active_sessions_.size());
  for (const auto& [id, time] : active_sessions_)
    times.push_back(time);
  return times;
}

void TaskProvider::GetName(StringT<wchar_t>* name) {
  *name = kFeature;
}

void TaskProvider::RunMethod(IMethod* method) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::TaskProvider::RunMethod");
  const wchar_t* const given_name = method == nullptr ? nullptr : method->GetName();
  if (given_name == nullptr) {
    ORN_LOG(logging::kWarning, trace.function(), L"Received null method");
    return;
  }
  const StringT<wchar_t> name(given_name);
  ORN_LOG(logging::kInformation, trace.function(), L"Calling method [%s]", name.c_str());

  struct Row {
    const wchar_t* name;
    void (TaskProvider::*member)(IMethod*);
  };
  static constexpr Row kMethods[] = {
      {L"GetOngoingTerminalSessions", &TaskProvider::GetOngoingTerminalSessions}};
  const auto* const row =
      std::ranges::find_if(kMethods, [&name](const Row& each) { return name == each.name; });
  if (row != std::end(kMethods)) return (this->*row->member)(method);
  ORN_LOG(logging::kWarning, trace.function(), L"Function not found.");
  method->Complete(error::kInvalidOperation);
}

void TaskProvider::GetOngoingTerminalSessions(IMethod* method) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::Console::TaskProvider::GetOngoingTerminalSessions");
  if (!SetSessions(GetStartTimes(), method->GetResult())) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to set the \"sessions\" node.");
  }
  method->Complete(error::kSuccess);
}

}  // namespace orn::RemoteAccess::Console
