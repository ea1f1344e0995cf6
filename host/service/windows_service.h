#pragma once

#include <cstdint>
#include <mutex>

#include "host/service/configuration.h"
#include "host/service/host_process.h"

namespace host {

// The host as a Windows service: the service control manager has started the program and is told of
// each change, with a checkpoint for each plug-in. A stop, a shutdown and the time before one are
// requests to stop in order. An end that nobody asked for is a failure, after which the manager
// starts the service anew.
class WindowsService : public IHostWatcher {
 public:
  // Runs the service and ends the process. Returns only where the manager has not started this
  // process: a status, 1063.
  static uint32_t Run(const Configuration& configuration);

  void OnStep() override;
  void OnRunning() override;
  void OnStopping() override;
  void OnEnd(uint32_t exit_code) override;

 private:
  explicit WindowsService(const Configuration& configuration) : configuration_(configuration) {}

  static void WINAPI Main(DWORD count, wchar_t** arguments);
  static DWORD WINAPI OnControl(DWORD control, DWORD type, void* data, void* context);
  // With mutex_ held.
  void ReportLocked();

  static WindowsService* instance_;  // The manager hands nothing on to Main.

  const Configuration& configuration_;
  SERVICE_STATUS_HANDLE handle_ = nullptr;  // Fixed once the service's thread runs.

  std::mutex mutex_;
  SERVICE_STATUS status_{};  // Guarded by mutex_.
};

}  // namespace host
