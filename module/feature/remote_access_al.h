#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "module/feature/enabled_setting.h"
#include "module/feature/remote_access.h"
#include "module/frame/handle.h"
#include "module/frame/log_reference.h"
#include "module/frame/observers.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/frame/thread_pool.h"
#include "module/jobs/download_jobs.h"
#include "module/jobs/file_operation.h"
#include "module/jobs/file_operation_manager.h"
#include "module/jobs/file_operation_reports.h"
#include "module/jobs/path_prevalidation.h"
#include "module/jobs/process_runs.h"
#include "module/jobs/upload_jobs.h"
#include "module/platform/centralized_storage.h"
#include "module/platform/tsr_settings.h"
#include "module/platform/veld_connector.h"
#include "module/telemetry/product_matrix_app.h"
#include "module/terminal/host/feature_host.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"
#include "module/terminal/json_rpc_front.h"
#include "module/terminal/terminal_events.h"
#include "module/terminal/terminal_sessions.h"

namespace orn::RemoteAccess {

// The central object of the feature, exported as "RemoteAccess.AL". It owns what the feature works
// with and leads each call to the collaborator whose business it is; its own are the life as a
// plug-in, the enabled switch and the observers.
//
// The host drives Init, Start, Stop and UnInit, in this order and never overlapping; nothing else
// may come before Start has returned. The other faces are called on threads of the plug-ins.
class RemoteAccessAL
    : public IRemoteAccess,
      public IServPlugin,
      public EndpointService::FeatureHost,
      public VeldConnector::ISocketConnection,
      public VeldConnector::Rpc::IController,
      public RemoteTerminal::IRemoteTerminalManager::IRemoteTerminalManagerNotifications,
      public tsrsdk::Product::ICentralizedStorage::IFileManagerEvent,
      public TerminalEvents,
      public FileOperationManagerEvents {
 public:
  RemoteAccessAL() = default;
  // Ends the process where a cleanup thread or a terminal's threads still run.
  ~RemoteAccessAL() override = default;

  // IServPlugin.
  void* GetInterface(const InterfaceId& id) override;
  // 5002 where the terminal manager, the connector or the settings are missing. What was fetched by
  // then stays fetched.
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  // 5002 where the connector does not take the feature. What was registered by then stays
  // registered.
  int32_t Start() override;
  // Only after an Init that has worked.
  void Stop() override;

  // IRemoteAccess.
  uint32_t SetEnabled(bool enabled) override;
  uint32_t GetEnabled(bool* enabled) override;
  uint32_t GetActiveTerminalSessions(List<TerminalSessionState>& sessions) override;
  uint32_t StartDownload(const DownloadInput& input, OperationResponse& output) override;
  uint32_t CancelDownload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message) override;
  uint32_t StartUploadArchive(const UploadArchiveInput& input, OperationResponse& output) override;
  uint32_t CancelUpload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message) override;
  uint32_t StartProcess(const ProcessExecutionInput& input, const UploadArchiveInput& upload,
                        ProcessExecutionResponse& output) override;
  uint32_t RegisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                          uint32_t) override;
  uint32_t RegisterFileOperationEvent(IFileOperationEvent* observer, uint32_t, uint32_t) override;
  uint32_t RegisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override;
  uint32_t UnregisterProcessOperationsEvent(IProcessOperationsEvent* observer, uint32_t,
                                            uint32_t) override;
  uint32_t UnregisterFileOperationEvent(IFileOperationEvent* observer, uint32_t, uint32_t) override;
  uint32_t UnregisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override;

  // FeatureHost.
  StringT<wchar_t> GetHostName() override;
  StringT<wchar_t> GetProcessName() override;

  // ISocketConnection.
  void OnConnect() override;
  void OnDisconnect() override;
  void OnReserved() override;

  // Rpc::IController.
  uint32_t OnRpcMethod(const VeldConnector::Rpc::Request& request,
                       VeldConnector::Rpc::Reply& reply) override;
  std::vector<std::string> GetRpcModules() override;

  // IRemoteTerminalManagerNotifications.
  void OnTerminalClosed(const StringT<char>& id) override;

  // IFileManagerEvent.
  uint32_t OnUploadFinished(const StringT<wchar_t>& upload_id,
                            const UploadArchiveMetadata& metadata) override;
  uint32_t OnDownloadFinished(const StringT<wchar_t>& download_id,
                              const DownloadMetadata& metadata) override;

  // TerminalEvents.
  void OnTerminalFinished(const StringT<char>& id) override;
  void OnTerminalResize(const StringT<char>& id, const TerminalSize& size) override;

  // FileOperationManagerEvents.
  void OnUploadArchivePrepared(const UploadArchiveTask& task,
                               const UploadArchiveMetadata& metadata) override;

 private:
  void CreateStopEvent(const wchar_t* function);

  // The order of the members is the reverse of the order in which they are taken down.
  logging::LogReference log_;
  StateObservers state_observers_;
  FileObservers file_observers_;
  ProcessObservers process_observers_;
  EnabledSetting enabled_;
  // Holds the job of the host's process, which therefore outlives the plug-ins.
  JsonRpcFront json_rpc_{enabled_, *this, sessions_, telemetry_, prevalidation_};
  ServPlugin<RemoteTerminal::IRemoteTerminalManager> terminal_manager_{L"RemoteTerminalManager"};
  ServPlugin<VeldConnector::IConnector> connector_{L"VeldConnector"};  // held beyond UnInit
  ServPlugin<ITsrSettings> settings_{L"TsrSettings"};
  ServPlugin<tsrsdk::Product::ICentralizedStorage> storage_{
      L"Product.CentralizedStorage"};  // optional
  FileOperationManager file_operations_;
  FileOperationReports file_reports_{sessions_, file_observers_};
  DownloadJobs downloads_{enabled_, storage_, file_operations_, file_reports_, telemetry_};
  UploadJobs uploads_{enabled_, storage_, file_operations_, file_reports_, telemetry_};
  PathPrevalidation prevalidation_{storage_};
  TerminalSessions sessions_{terminal_manager_, *this, state_observers_, telemetry_};
  ProcessRuns process_runs_{enabled_, stop_event_, proc_runners_, process_observers_,
                            [this](const UploadArchiveInput& input, OperationResponse& output) {
                              return StartUploadArchive(input, output);
                            }};
  std::unique_ptr<ThreadPool> proc_runners_;  // "ThreadpoolProcRunners"
  UniqueHandle stop_event_;                   // manual reset: set on Stop, made anew by Init
  ProductMatrix::ProductMatrixApp telemetry_;
  logging::LogReference shutdown_log_;
};

}  // namespace orn::RemoteAccess
