#include "module/terminal/host/terminal_instance.h"

#include <cstdlib>
#include <memory>
#include <new>

#include "module/frame/environment.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace orn::RemoteTerminalInstance {
namespace {

constexpr const wchar_t* kShell = L"c:\\Windows\\System32\\WindowsPowerShell\\v1.0\\powershell.exe";

// WINPTY_SPAWN_FLAG_AUTO_SHUTDOWN and WINPTY_SPAWN_FLAG_EXIT_AFTER_SHUTDOWN: the shell ends with
// its console.
constexpr uint64_t kSpawnFlags = 3;

struct FreeBlock {
  void operator()(wchar_t* block) const { std::free(block); }
};

}  // namespace

TerminalInstance::TerminalInstance(const WinptyTable& winpty) : winpty_(&winpty) {
  LogFunctionTrace trace(L"orn::RemoteTerminalInstance::TerminalInstance::TerminalInstance");
  id_.reserve(64);
}

uint32_t TerminalInstance::Start(const StringT<char>& id, uint32_t cols, uint32_t rows,
                                 StringT<wchar_t>& coninName, StringT<wchar_t>& conoutName) {
  LogFunctionTrace trace(L"orn::RemoteTerminalInstance::TerminalInstance::Start");
  id_ = id;

  stop_event_.reset(CreateEventW(/*security=*/nullptr, /*manualReset=*/FALSE, /*signalled=*/FALSE,
                                 /*name=*/nullptr));
  if (!stop_event_) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to create stop event.");
    return error::kFailed;
  }

  winpty_config_t* const config = winpty_->config_new(/*agent_flags=*/0, /*error=*/nullptr);
  if (config == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"winpty_config_new returned null cfg.");
    return error::kFailed;
  }
  winpty_->config_set_initial_size(config, static_cast<int>(cols), static_cast<int>(rows));
  winpty_->config_set_agent_timeout(config, INFINITE);
  agent_ = winpty_->open(config, /*error=*/nullptr);
  if (agent_ == nullptr) {
    // The configuration is left to winpty: it is only freed once an agent has been opened with it.
    ORN_LOG(logging::kError, trace.function(), L"winpty_open returned null agent.");
    return error::kFailed;
  }
  winpty_->config_free(config);

  const wchar_t* const conin = winpty_->conin_name(agent_);
  if (conin == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"winpty_conin_name returned null pipe name.");
    return error::kFailed;
  }
  coninName = conin;
  const wchar_t* const conout = winpty_->conout_name(agent_);
  if (conout == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"winpty_conout_name returned null pipe name.");
    return error::kFailed;
  }
  conoutName = conout;

  wchar_t* raw_block = nullptr;
  if (FixEnvironmentVars(&raw_block) != error::kSuccess) {
    ORN_LOG(logging::kNotice, trace.function(), L"PATH variable not repaired");
  }
  const std::unique_ptr<wchar_t, FreeBlock> block(raw_block);
  winpty_spawn_config_t* const spawn_config = winpty_->spawn_config_new(
      kSpawnFlags, kShell, /*command_line=*/nullptr, /*directory=*/nullptr, block.get(),
      /*error=*/nullptr);
  if (spawn_config == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"winpty_spawn_config_new returned null spawn_cfg.");
    return error::kFailed;
  }
  HANDLE process = nullptr;
  if (!winpty_->spawn(agent_, spawn_config, &process, /*thread=*/nullptr,
                      /*create_process_error=*/nullptr, /*error=*/nullptr)) {
    // The spawn configuration stays behind, as the agent's does above.
    ORN_LOG(logging::kError, trace.function(), L"winpty_spawn failed.");
    return error::kFailed;
  }
  process_.reset(process);
  winpty_->spawn_config_free(spawn_config);

  process_check_thread_ = std::thread(&TerminalInstance::ProcEndCheckThread, this);
  return error::kSuccess;
}

void TerminalInstance::Stop() {
  LogFunctionTrace trace(L"orn::RemoteTerminalInstance::TerminalInstance::Stop");
  SetEvent(stop_event_.get());
  ORN_LOG(logging::kTrace, trace.function(), L" -> Join process terminate check thread.");
  if (process_check_thread_.joinable()) process_check_thread_.join();
  ORN_LOG(logging::kTrace, trace.function(), L" <- Process check thread joined.");

  ORN_LOG(logging::kTrace, trace.function(), L" -> winpty_free agent");
  winpty_->free(agent_);
  ORN_LOG(logging::kTrace, trace.function(), L" <- winpty_free agent");
}

uint32_t TerminalInstance::SetSize(uint32_t cols, uint32_t rows) {
  LogFunctionTrace trace(L"orn::RemoteTerminalInstance::TerminalInstance::SetSize");
  const bool done = winpty_->set_size(agent_, static_cast<int>(cols), static_cast<int>(rows),
                                      /*error=*/nullptr) != FALSE;
  ORN_LOG(done ? logging::kInformation : logging::kWarning, trace.function(),
          L"Set terminal size: [%d, %d]. Successs: %d.", cols, rows, done ? 1 : 0);
  return done ? error::kSuccess : error::kFailed;
}

void TerminalInstance::ProcEndCheckThread() {
  SetThreadName(L"Terminal process check");
  LogFunctionTrace trace(L"orn::RemoteTerminalInstance::TerminalInstance::ProcEndCheckThread");
  const HANDLE handles[] = {stop_event_.get(), process_.get()};
  switch (WaitForMultipleObjects(2, handles, /*all=*/FALSE, INFINITE)) {
    case WAIT_OBJECT_0:
      ORN_LOG(logging::kInformation, trace.function(),
              L"Stop signaled. Stop waiting for process to terminate");
      break;
    case WAIT_OBJECT_0 + 1:
      ORN_LOG(logging::kInformation, trace.function(),
              L"Terminal died of death. Signal manager to perform cleanup.");
      if (TerminalInstanceEvents* const events = events_) events->OnProcessTerminate(id_);
      break;
    default:
      break;
  }
}

uint32_t TerminalInstance::FixEnvironmentVars(wchar_t** block) {
  LogFunctionTrace trace(L"orn::RemoteTerminalInstance::TerminalInstance::FixEnvironmentVars");
  *block = nullptr;

  const DWORD size = GetEnvironmentVariableW(kOldPathVariable, nullptr, 0);
  if (size == 0) {
    ORN_LOG(logging::kWarning, trace.function(), L"Failed to get old tsr PATH var");
    return error::kVariableNotFound;
  }
  ORN_LOG(logging::kInformation, trace.function(), L"ORN_TSR_OLD_PATH required size is %d", size);
  const std::unique_ptr<wchar_t[]> old_path(new (std::nothrow) wchar_t[size]());
  if (old_path == nullptr) {
    ORN_LOG(logging::kWarning, trace.function(),
            L"Failed to alloc memory for ORN_TSR_OLD_PATH buffer");
    return error::kNotEnoughMemory;
  }
  // 0 also for a variable that is there but empty.
  if (GetEnvironmentVariableW(kOldPathVariable, old_path.get(), size) == 0) {
    ORN_LOG(logging::kWarning, trace.function(), L"Failed to get old tsr PATH var");
    return error::kVariableNotFound;
  }

  wchar_t* const environment = GetEnvironmentStringsW();
  if (environment == nullptr) {
    const uint32_t code = GetLastError();
    ORN_LOG(logging::kWarning, trace.function(), L"GetEnvironmentStrings failed with error = %d",
            code);
    return code;
  }
  size_t replaced = 0;
  *block = BuildBlockWithPath(environment, old_path.get(), replaced);
  for (; replaced > 0; --replaced) {
    ORN_LOG(logging::kInformation, trace.function(), L"Updated PATH variable");
  }
  if (*block == nullptr) {
    ORN_LOG(logging::kWarning, trace.function(),
            L"Failed to allocate memory for new environment block");
  }
  FreeEnvironmentStringsW(environment);
  return *block != nullptr ? error::kSuccess : error::kNotEnoughMemory;
}

}  // namespace orn::RemoteTerminalInstance
