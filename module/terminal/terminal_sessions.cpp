#include "module/terminal/terminal_sessions.h"

#include <ctime>
#include <utility>
#include <vector>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace orn::RemoteAccess {

uint32_t TerminalSessions::Open(const std::string& stream_id, const TerminalSize& size,
                                uint32_t inactivity_timeout) {
  static constexpr wchar_t kFunction[] = L"orn::RemoteAccess::RemoteAccessAL::RemoteTerminalOpen";
  const StringT<char> id{std::string_view(stream_id)};
  StringT<wchar_t> conin_name;
  StringT<wchar_t> conout_name;
  const uint32_t opened = manager_->OpenTerminal(id, size, conin_name, conout_name);
  ORN_LOG(opened == error::kSuccess ? logging::kInformation : logging::kError, kFunction,
          L"OpenTerminal with id %S returned %d.", id.c_str(), opened);
  if (opened != error::kSuccess) {
    telemetry_.ProcessToolRanEventForOpenTerminal(error::kFailed);
    return opened;
  }

  // Without a stream the terminal is still made, and is not valid.
  VeldConnector::Stream::IConnection* const stream = socket_manager_->GetStream(stream_id);
  if (stream == nullptr) {
    ORN_LOG(logging::kError, kFunction, L"Failed to get stream with id: %S", stream_id.c_str());
    telemetry_.ProcessToolRanEventForOpenTerminal(error::kConnectionInvalid);
  }

  int64_t start_time = 0;
  {
    const std::lock_guard lock(terminals_mutex_);
    auto terminal =
        std::make_unique<Terminal>(id, conin_name, conout_name, stream, inactivity_timeout);
    if (!terminal->IsValid()) {
      // Its threads run, so the process ends here.
      terminal.reset();
      ORN_LOG(logging::kError, kFunction, L"Failed to create terminal.");
      telemetry_.ProcessToolRanEventForOpenTerminal(error::kInvalidHandle);
      return error::kInvalidHandle;
    }
    terminal->SetEvents(&events_);
    start_time = terminal->start_time();
    terminals_[id] = std::move(terminal);
    ORN_LOG(logging::kTrace, kFunction, L"Active terminals: %d.",
            static_cast<int>(terminals_.size()));
    telemetry_.ProcessToolRanEventForOpenTerminal(error::kSuccess);
  }
  if (start_time != 0) NotifyTerminalSessionStateChanged(id, /*is_connected=*/true, start_time);
  return error::kSuccess;
}

bool TerminalSessions::IsTerminalAvailable(const StringT<char>& id) {
  const std::lock_guard lock(terminals_mutex_);
  return terminals_.contains(id);
}

void TerminalSessions::SendMessageOverStream(const StringT<char>& id, const std::string& type,
                                             const std::string& content) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::SendMessageOverStream");
  const std::lock_guard lock(terminals_mutex_);
  const auto found = terminals_.find(id);
  if (found == terminals_.end()) {
    ORN_LOG(logging::kInformation, trace.function(), L"TerminalId not found: [%S]", id.c_str());
    return;
  }
  if (found->second == nullptr) {
    ORN_LOG(logging::kWarning, trace.function(), L"Terminal not available: [%S]", id.c_str());
    return;
  }
  found->second->SendStreamMessage(type, content);
}

void TerminalSessions::GetActive(List<TerminalSessionState>& sessions) {
  sessions.Clear();
  const std::lock_guard lock(terminals_mutex_);
  for (const auto& [id, terminal] : terminals_) {
    sessions.PushBack({.terminalId = id,
                       .isConnected = true,
                       .startTimestamp = terminal->start_time(),
                       .endTimestamp = 0});
  }
}

void TerminalSessions::OnTerminalFinished(const StringT<char>& id) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::OnTerminalFinished");
  ORN_LOG(logging::kTrace, trace.function(),
          L"[From Integrator] Calling async cleanup for terminal with ID: %S.", id.c_str());
  TerminalCleanup(id, /*close_remote=*/true);
}

void TerminalSessions::OnTerminalClosed(const StringT<char>& id) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::OnTerminalClosed");
  ORN_LOG(logging::kTrace, trace.function(),
          L"[From Terminal Manager] Calling async cleanup for terminal with ID: %S.", id.c_str());
  TerminalCleanup(id, /*close_remote=*/false);
}

void TerminalSessions::OnTerminalResize(const StringT<char>& id, const TerminalSize& size) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::OnTerminalResize");
  manager_->SetSize(id, size);
}

void TerminalSessions::TerminalCleanup(const StringT<char>& id, bool close_remote) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::TerminalCleanup");
  const std::lock_guard lock(cleanup_mutex_);
  ORN_LOG(logging::kTrace, trace.function(), L"Calling async cleanup for terminal with ID: %S.",
          id.c_str());
  if (terminal_cleanup_thread_.joinable()) terminal_cleanup_thread_.join();
  terminal_cleanup_thread_ =
      std::thread([this, id, close_remote] { AsyncTerminalCleanup(id, close_remote); });
}

void TerminalSessions::AsyncTerminalCleanup(const StringT<char>& id, bool close_remote) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::AsyncTerminalCleanup");
  SetThreadName(L"Terminal cleanup");
  ORN_LOG(logging::kTrace, trace.function(), L"Cleaning up terminal with ID: %S.", id.c_str());
  int64_t start_time = 0;
  {
    const std::lock_guard lock(terminals_mutex_);
    if (const auto found = terminals_.find(id); found != terminals_.end()) {
      start_time = found->second->start_time();
      ORN_LOG(logging::kTrace, trace.function(), L" -> Calling Uninit");
      found->second->Uninit(socket_manager_);
      ORN_LOG(logging::kTrace, trace.function(), L" <- Calling Uninit");
      if (close_remote) {
        ORN_LOG(logging::kTrace, trace.function(), L" -> Closing remote terminal");
        manager_->CloseTerminal(id);
        ORN_LOG(logging::kTrace, trace.function(), L" <- Remote terminal closed");
      }
      terminals_.erase(found);
      ORN_LOG(logging::kTrace, trace.function(), L"Active terminals: %d.",
              static_cast<int>(terminals_.size()));
    }
  }
  // Also for a session that is gone already: whoever asked for an end hears of one.
  NotifyTerminalSessionStateChanged(id, /*is_connected=*/false, start_time);
}

void TerminalSessions::CleanupTerminals() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::CleanupTerminals");
  std::vector<std::pair<StringT<char>, int64_t>> ended;
  {
    const std::lock_guard lock(terminals_mutex_);
    ORN_LOG(logging::kTrace, trace.function(), L"Active terminals: %d.",
            static_cast<int>(terminals_.size()));
    for (auto& [id, terminal] : terminals_) {
      ORN_LOG(logging::kTrace, trace.function(), L" -> Closing Handles for Terminal %S",
              id.c_str());
      ended.emplace_back(id, terminal->start_time());
      terminal->Uninit(socket_manager_);
      ORN_LOG(logging::kTrace, trace.function(), L" <- Closing Handles");
      ORN_LOG(logging::kTrace, trace.function(), L" -> Closing remote terminal");
      manager_->CloseTerminal(id);
      ORN_LOG(logging::kTrace, trace.function(), L" <- Remote terminal closed");
      terminal.reset();
    }
    terminals_.clear();
  }
  for (const auto& [id, start_time] : ended) {
    NotifyTerminalSessionStateChanged(id, /*is_connected=*/false, start_time);
  }
}

void TerminalSessions::JoinCleanup() {
  static constexpr wchar_t kFunction[] = L"orn::RemoteAccess::RemoteAccessAL::Stop";
  ORN_LOG(logging::kTrace, kFunction, L" -> terminalCleanupThread.joinable()");
  if (terminal_cleanup_thread_.joinable()) {
    ORN_LOG(logging::kTrace, kFunction, L" -> Joining cleanup working thread.");
    terminal_cleanup_thread_.join();
    ORN_LOG(logging::kTrace, kFunction, L" <- Cleanup working thread joined.");
  }
  ORN_LOG(logging::kTrace, kFunction, L" <- terminalCleanupThread.joinable()");
}

void TerminalSessions::NotifyTerminalSessionStateChanged(const StringT<char>& id, bool is_connected,
                                                         int64_t start_timestamp) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::RemoteAccessAL::NotifyTerminalSessionStateChanged");
  const TerminalSessionState state{.terminalId = id,
                                   .isConnected = is_connected,
                                   .startTimestamp = start_timestamp,
                                   .endTimestamp = is_connected ? 0 : _time64(nullptr)};
  using StateMember =
      MemberFunction_1_args<IRemoteAccess::IStateEvent, uint32_t, const TerminalSessionState&,
                            &IRemoteAccess::IStateEvent::OnTerminalSessionStateChanged>;
  Event<StateMember>(observers_).Fire(state);
}

}  // namespace orn::RemoteAccess
