#include "host/service/host_process.h"

#include <string>
#include <thread>

#include "host/service/data_folder.h"
#include "host/service/report.h"
#include "host/service/search_path.h"
#include "host/service/stop_signal.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host {
namespace {

constexpr const wchar_t* kFunction = L"host::HostProcess";

}  // namespace

void HostProcess::Run() {
  if (!Prepare()) End(1);
  const bool started = StartPlugins();
  if (started) {
    ReportProgress(L"Host " + configuration_.name + L" is running");
    if (watcher_ != nullptr) watcher_->OnRunning();
    WaitForStop();
    ReportProgress(L"Host " + configuration_.name + L" stops");
  }
  if (watcher_ != nullptr) watcher_->OnStopping();
  StopPlugins();
  // Last, so that they still get what the plug-ins' stops bring about.
  supervision_.Stop();
  End(started ? 0 : 1);
}

bool HostProcess::Prepare() {
  const auto fail = [&](const std::wstring& what, uint32_t code) {
    ReportError(DescribeProblem(configuration_.file, 0, what, code));
    return false;
  };
  // With low rights the process that started this one has made the folder.
  if (!configuration_.low_rights) {
    if (const uint32_t status = PrepareDataFolder(configuration_); status != 0) {
      return fail(L"the data folder \"" + configuration_.data + L"\" cannot be used", status);
    }
  }
  // Before the log is opened, which a second one would share.
  if (!DeclareHosts()) return false;
  RestrictSearchPath();
  if (configuration_.has_log) {
    if (const uint32_t status = log_.Start(configuration_.file); status != 0) {
      return fail(L"log.dll or its file cannot be used", status);
    }
  }
  ORN_LOG(logging::kNotice, kFunction, L"Host %s begins with %s", configuration_.name.c_str(),
          configuration_.file.c_str());
  components_.Add(kConfigurationName, &configuration_object_);
  return true;
}

bool HostProcess::DeclareHosts() {
  for (const std::wstring& name : configuration_.declared) {
    auto host = std::make_unique<HostPresence>();
    uint32_t status = host->Open(name);
    if (status == 0) status = host->Declare();
    if (status == error::kAlreadyExists) {
      ReportError(DescribeProblem(configuration_.file, 0,
                                  L"host \"" + name + L"\" is running already", status));
      return false;
    }
    if (status != 0) {
      ReportError(DescribeProblem(configuration_.file, 0,
                                  L"host \"" + name + L"\" cannot be declared", status));
      return false;
    }
    hosts_.push_back(std::move(host));
  }
  return true;
}

bool HostProcess::StartPlugins() {
  if (!plugins_.Start()) return false;
  if (const uint32_t status = supervision_.Start(configuration_.processes); status != 0) {
    ReportError(
        DescribeProblem(configuration_.file, 0, L"no job object for the other processes", status));
    return false;
  }
  plugins_.OpenIntakes();
  return true;
}

void HostProcess::WaitForStop() const {
  std::vector<HANDLE> signals = {StopSignal()};
  for (const auto& host : hosts_)
    signals.push_back(host->stop());
  WaitForMultipleObjects(static_cast<DWORD>(signals.size()), signals.data(), /*waitAll=*/FALSE,
                         INFINITE);
}

void HostProcess::StopPlugins() {
  StartStopLimit();
  supervision_.EndRestarts();
  plugins_.CloseIntakes();
  plugins_.Stop();
}

void HostProcess::StartStopLimit() {
  // Never joined: it ends with the process, or ends it.
  std::thread([this] {
    orn::SetThreadName(L"StopLimit");
    Sleep(configuration_.stop_limit * 1000);
    ReportError(
        DescribeProblem(configuration_.file, 0,
                        L"host \"" + configuration_.name + L"\" did not stop in time and is ended",
                        error::kTimeout));
    End(1);
  }).detach();
}

void HostProcess::End(uint32_t exit_code) {
  ORN_LOG(logging::kNotice, kFunction, L"Host %s ends with code %u", configuration_.name.c_str(),
          exit_code);
  log_.End();
  if (watcher_ != nullptr) watcher_->OnEnd(exit_code);
  TerminateProcess(GetCurrentProcess(), exit_code);
  for (;;)
    Sleep(INFINITE);
}

}  // namespace host
