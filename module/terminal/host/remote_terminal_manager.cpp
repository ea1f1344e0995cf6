#include "module/terminal/host/remote_terminal_manager.h"

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"
#include "module/frame/utf.h"

namespace orn::RemoteTerminal {

RemoteTerminalManager::RemoteTerminalManager() {
  LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalManager::RemoteTerminalManager");
}

uint32_t RemoteTerminalManager::OpenTerminal(const StringT<char>& id, const TerminalSize& size,
                                             StringT<wchar_t>& coninName,
                                             StringT<wchar_t>& conoutName) {
  LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalManager::OpenTerminal");
  const std::lock_guard lock(terminals_mutex_);
  if (terminals_.contains(id)) {
    ORN_LOG(logging::kError, trace.function(),
            L"Failed to start terminal. Terminal with id: [%s] already exists",
            ToWide(id.view()).c_str());
    return error::kAlreadyExists;
  }
  auto* const instance = new TerminalInstance(winpty_.table());
  terminals_[id] = instance;
  const uint32_t code = instance->Start(id, size.cols, size.rows, coninName, conoutName);
  if (code != error::kSuccess) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to start terminal. Error: %d.", code);
    return code;
  }
  instance->SetEvents(this);
  return error::kSuccess;
}

void RemoteTerminalManager::CloseTerminal(const StringT<char>& id) {
  LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalManager::CloseTerminal");
  const std::lock_guard lock(terminals_mutex_);
  const auto found = terminals_.find(id);
  if (found == terminals_.end()) return;
  found->second->Stop();
  delete found->second;
  terminals_.erase(found);
}

uint32_t RemoteTerminalManager::SetSize(const StringT<char>& id, const TerminalSize& size) {
  LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalManager::SetSize");
  const std::lock_guard lock(terminals_mutex_);
  const auto found = terminals_.find(id);
  if (found == terminals_.end()) return error::kNotFound;
  return found->second->SetSize(size.cols, size.rows);
}

uint32_t RemoteTerminalManager::Register(IRemoteTerminalManagerNotifications* subscriber) {
  return subscribers_.Add(subscriber);
}

uint32_t RemoteTerminalManager::Unregister(IRemoteTerminalManagerNotifications* subscriber) {
  return subscribers_.Remove(subscriber);
}

void RemoteTerminalManager::OnProcessTerminate(const StringT<char>& id) {
  LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalManager::OnProcessTerminate");
  if (cleanup_thread_.joinable()) cleanup_thread_.join();
  cleanup_thread_ = std::thread([this, id] { AsyncTerminalCleanup(id); });
}

void RemoteTerminalManager::AsyncTerminalCleanup(const StringT<char>& id) {
  SetThreadName(L"Terminal manager cleanup");
  LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalManager::AsyncTerminalCleanup");
  const std::lock_guard lock(terminals_mutex_);
  ORN_LOG(logging::kInformation, trace.function(), L"Active terminals: [%zd]", terminals_.size());
  // Unguarded: for an id that CloseTerminal has removed since, the process ends here.
  TerminalInstance* const instance = terminals_[id];
  instance->Stop();
  delete instance;
  terminals_.erase(id);
  terminal_closed_.Fire(id);
}

void* RemoteTerminalManager::GetInterface(const InterfaceId& id) {
  if (id == IRemoteTerminalManager::kInterfaceId) return static_cast<IRemoteTerminalManager*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t RemoteTerminalManager::Init(IServMain*) {
  LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalManager::Init");
  return 0;
}

void RemoteTerminalManager::UnInit() {
  LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalManager::UnInit");
}

int32_t RemoteTerminalManager::Start() {
  LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalManager::Start");
  if (!winpty_.Load()) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to load winpty.dll");
    return error::kMissingDependency;
  }
  return 0;
}

void RemoteTerminalManager::Stop() {
  LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalManager::Stop");
  const std::lock_guard lock(terminals_mutex_);
  for (const auto& [id, instance] : terminals_)
    instance->Stop();
  winpty_.Release();
}

}  // namespace orn::RemoteTerminal
