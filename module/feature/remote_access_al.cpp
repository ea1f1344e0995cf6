#include "module/feature/remote_access_al.h"

#include <new>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"

namespace orn::RemoteAccess {

namespace {

constexpr wchar_t kEnabledKey[] = L"RemoteAccess/enabled";
constexpr size_t kProcRunners = 3;

template <class T>
uint32_t RegisterObserver(SynchronyzedObjectContainer<T*>& observers, T* observer) {
  return observer == nullptr ? error::kBadParameter : observers.Add(observer);
}

template <class T>
uint32_t UnregisterObserver(SynchronyzedObjectContainer<T*>& observers, T* observer) {
  return observer == nullptr ? error::kBadParameter : observers.Remove(observer);
}

}  // namespace

// Life.

void* RemoteAccessAL::GetInterface(const InterfaceId& id) {
  if (id == IRemoteAccess::kInterfaceId) return static_cast<IRemoteAccess*>(this);
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t RemoteAccessAL::Init(IServMain* main) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Init");
  IComponentManager* const manager = main == nullptr ? nullptr : main->GetComponentManager();
  if (terminal_manager_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to get RemoteTerminalManager plugin.");
    return error::kMissingDependency;
  }
  if (connector_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to get VeldConnector plugin.");
    return error::kMissingDependency;
  }
  if (settings_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kWarning, trace.function(), L"Could not get setting serializer.");
    return error::kMissingDependency;
  }
  if (storage_.GetPlugin(manager) == nullptr) {
    ORN_LOG(logging::kNotice, trace.function(), L"Could not get centralized storage plugin.");
  }
  CreateStopEvent(trace.function());
  telemetry_.Init(manager);
  return error::kSuccess;
}

void RemoteAccessAL::CreateStopEvent(const wchar_t* function) {
  stop_event_.reset();
  stop_event_.reset(CreateEventW(/*security=*/nullptr, /*manual_reset=*/TRUE,
                                 /*initial_state=*/FALSE, /*name=*/nullptr));
  if (!stop_event_) {
    ORN_LOG(logging::kWarning, function, L"Failed to create stop event, error = %d",
            GetLastError());
  }
}

int32_t RemoteAccessAL::Start() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Start");
  if (const uint32_t code = terminal_manager_->Register(this); code != error::kSuccess) {
    ORN_LOG(logging::kNotice, trace.function(),
            L"Cannot register for terminal manager events. [error = %d]", code);
  }
  if (storage_) {
    if (const uint32_t code = storage_->RegisterFileManagerEvent(this); code != error::kSuccess) {
      ORN_LOG(logging::kNotice, trace.function(),
              L"Cannot register for CentralizedStorage FileManager events. [error = %d]", code);
    } else {
      file_operations_.SetEvents(this);
    }
  }
  sessions_.SetSocketManager(connector_->CreateSocketManager(this));
  if (sessions_.socket_manager() == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to create socket manager.");
    return error::kMissingDependency;
  }
  if (sessions_.socket_manager()->RegisterController(this) != error::kSuccess) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to register for json-rpc methods.");
    return error::kMissingDependency;
  }
  enabled_.Prepare(settings_.get(), kEnabledKey, /*default_value=*/false);
  proc_runners_.reset(new (std::nothrow) ThreadPool(kProcRunners));
  if (proc_runners_ == nullptr) {
    ORN_LOG(logging::kWarning, trace.function(),
            L"Could not create thread pool manager for proc runners.");
  }
  return error::kSuccess;
}

void RemoteAccessAL::Stop() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::Stop");
  // First of all: every wait in the feature ends by it.
  if (stop_event_ && !SetEvent(stop_event_.get())) {
    ORN_LOG(logging::kWarning, trace.function(), L"Failed to set stop event, error = %d",
            GetLastError());
  }
  terminal_manager_->Unregister(this);
  file_operations_.Stop();
  file_operations_.SetEvents(nullptr);
  if (storage_) storage_->UnregisterFileManagerEvent(this);
  ORN_LOG(logging::kTrace, trace.function(), L" -> Stopping Host");
  StopHost(INFINITE);
  ORN_LOG(logging::kTrace, trace.function(), L" <- Host Stopped");
  sessions_.CleanupTerminals();
  ORN_LOG(logging::kTrace, trace.function(), L" -> Deleting socket");
  connector_->DeleteSocketManager(sessions_.socket_manager());
  ORN_LOG(logging::kTrace, trace.function(), L" <- Socket deleted");
  sessions_.JoinCleanup();
  if (proc_runners_ != nullptr) {
    proc_runners_->DropQueued();
    proc_runners_->Stop();
  }
}

void RemoteAccessAL::UnInit() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::UnInit");
  file_operations_.Uninit();
  process_runs_.CleanupTempRootFolder();
  terminal_manager_.Release();
  settings_.Release();
  storage_.Release();
  telemetry_.UnInit();
}

// The switch.

uint32_t RemoteAccessAL::SetEnabled(bool enabled) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::SetEnabled");
  ORN_LOG(logging::kInformation, trace.function(), L"New enabled value [%s]",
          enabled ? L"enabled" : L"disabled");
  if (enabled_.IsOn() && !enabled) {
    ORN_LOG(logging::kInformation, trace.function(),
            L"Feature was disabled. We'll cleanup open terminals");
    enabled_.Write(false);
    sessions_.CleanupTerminals();
  } else {
    enabled_.Write(enabled);
  }
  return error::kSuccess;
}

uint32_t RemoteAccessAL::GetEnabled(bool* enabled) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::GetEnabled");
  *enabled = enabled_.IsOn();
  return error::kSuccess;
}

// Jobs and process runs.

uint32_t RemoteAccessAL::StartDownload(const DownloadInput& input, OperationResponse& output) {
  return downloads_.StartDownload(input, output);
}

uint32_t RemoteAccessAL::CancelDownload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message) {
  return downloads_.CancelDownload(jobId, message);
}

uint32_t RemoteAccessAL::StartUploadArchive(const UploadArchiveInput& input,
                                            OperationResponse& output) {
  return uploads_.StartUploadArchive(input, output);
}

uint32_t RemoteAccessAL::CancelUpload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message) {
  return uploads_.CancelUpload(jobId, message);
}

uint32_t RemoteAccessAL::StartProcess(const ProcessExecutionInput& input,
                                      const UploadArchiveInput& upload,
                                      ProcessExecutionResponse& output) {
  return process_runs_.StartProcess(input, upload, output);
}

uint32_t RemoteAccessAL::OnUploadFinished(const StringT<wchar_t>& upload_id,
                                          const UploadArchiveMetadata& metadata) {
  return uploads_.OnUploadFinished(upload_id, metadata);
}

uint32_t RemoteAccessAL::OnDownloadFinished(const StringT<wchar_t>& download_id,
                                            const DownloadMetadata& metadata) {
  return downloads_.OnDownloadFinished(download_id, metadata);
}

void RemoteAccessAL::OnUploadArchivePrepared(const UploadArchiveTask& task,
                                             const UploadArchiveMetadata& metadata) {
  uploads_.OnUploadArchivePrepared(task, metadata);
}

// Observers.

uint32_t RemoteAccessAL::RegisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                                        uint32_t) {
  return RegisterObserver(process_observers_, observer);
}

uint32_t RemoteAccessAL::RegisterFileOperationEvent(IFileOperationEvent* observer, uint32_t,
                                                    uint32_t) {
  return RegisterObserver(file_observers_, observer);
}

uint32_t RemoteAccessAL::RegisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) {
  return RegisterObserver(state_observers_, observer);
}

uint32_t RemoteAccessAL::UnregisterProcessOperationsEvent(IProcessOperationsEvent* observer,
                                                          uint32_t, uint32_t) {
  return UnregisterObserver(process_observers_, observer);
}

uint32_t RemoteAccessAL::UnregisterFileOperationEvent(IFileOperationEvent* observer, uint32_t,
                                                      uint32_t) {
  return UnregisterObserver(file_observers_, observer);
}

uint32_t RemoteAccessAL::UnregisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) {
  return UnregisterObserver(state_observers_, observer);
}

// The host of the terminals.

StringT<wchar_t> RemoteAccessAL::GetHostName() {
  return L"TsrRemoteTerminalService";
}

StringT<wchar_t> RemoteAccessAL::GetProcessName() {
  return L"TsrLowPrivilegeWorker.exe";
}

// The connector.

void RemoteAccessAL::OnConnect() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::OnConnect");
}

void RemoteAccessAL::OnDisconnect() {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::OnDisconnect");
  sessions_.CleanupTerminals();
}

void RemoteAccessAL::OnReserved() {}

uint32_t RemoteAccessAL::OnRpcMethod(const VeldConnector::Rpc::Request& request,
                                     VeldConnector::Rpc::Reply& reply) {
  return json_rpc_.OnRpcMethod(request, reply);
}

std::vector<std::string> RemoteAccessAL::GetRpcModules() {
  return {"RemoteAccess"};
}

// Terminals.

uint32_t RemoteAccessAL::GetActiveTerminalSessions(List<TerminalSessionState>& sessions) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::GetActiveTerminalSessions");
  sessions_.GetActive(sessions);
  return error::kSuccess;
}

void RemoteAccessAL::OnTerminalClosed(const StringT<char>& id) {
  sessions_.OnTerminalClosed(id);
}

void RemoteAccessAL::OnTerminalFinished(const StringT<char>& id) {
  sessions_.OnTerminalFinished(id);
}

void RemoteAccessAL::OnTerminalResize(const StringT<char>& id, const TerminalSize& size) {
  sessions_.OnTerminalResize(id, size);
}

}  // namespace orn::RemoteAccess
