#include "module/terminal/host/feature_host.h"

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/frame/path_string.h"
#include "module/frame/scope_guard.h"
#include "module/jobs/child_process.h"

namespace EndpointService {
namespace {

constexpr const wchar_t* kControlLibrary = L"ServiceInstance.Comm.dll";
constexpr const wchar_t* kControlObject = L"ServiceControl";

// How often a waiting caller looks for itself whether the host runs, in milliseconds.
constexpr uint32_t kWaitStep = 2500;

}  // namespace

uint32_t FeatureHost::OnHostStateChanged(uint32_t state) {
  state_ = state;
  SetEvent(state_event_.get());
  return error::kSuccess;
}

uint32_t FeatureHost::StartHost(const StartParams& params) {
  LogFunctionTrace trace(L"EndpointService::FeatureHost::StartHost");
  start_value_ = params.start_value;
  if (control_ == nullptr) {
    const uint32_t code = LoadControl();
    if (code != error::kSuccess) {
      ORN_LOG(logging::kWarning, trace.function(), L"[ServiceControl] Init failed with error: %d",
              code);
      return code;
    }
  }
  uint32_t running = 0;
  control_->IsRunning(&running);
  if (running != 0) {
    ORN_LOG(logging::kInformation, trace.function(), L"Host [%s] is already running",
            GetHostName().c_str());
    return error::kSuccess;
  }
  return StartAsProcess(params);
}

uint32_t FeatureHost::StopHost(uint32_t timeout) {
  LogFunctionTrace trace(L"EndpointService::FeatureHost::StopHost");
  if (control_ != nullptr) return control_->Stop(timeout);
  if (LoadControl() != error::kSuccess) return error::kSuccess;
  uint32_t running = 0;
  control_->IsRunning(&running);
  return running != 0 ? control_->Stop(timeout) : error::kSuccess;
}

uint32_t FeatureHost::WaitForConnectionEstablishment(uint32_t timeoutMs) {
  LogFunctionTrace trace(L"EndpointService::FeatureHost::WaitForConnectionEstablishment");
  if (control_ == nullptr) return error::kMissingDependency;
  state_event_.reset(CreateEventW(/*security=*/nullptr, /*manualReset=*/FALSE, /*signalled=*/FALSE,
                                  /*name=*/nullptr));
  if (control_->Register(this, 0) != error::kSuccess) return error::kNotConnected;
  const orn::ScopeGuard unregister([this] { control_->Unregister(this, 0); });

  const auto is_running = [&] {
    uint32_t running = 0;
    const uint32_t code = control_->IsRunning(&running);
    ORN_LOG(logging::kInformation, trace.function(),
            L"IsRunning returned error code %d and value %s.", code,
            running != 0 ? L"running" : L"false");
    return running != 0;
  };
  if (is_running()) return error::kSuccess;
  // Counts a full step even when the event came early.
  uint32_t waited = 0;
  while (true) {
    if (WaitForSingleObject(state_event_.get(), kWaitStep) == WAIT_OBJECT_0) {
      if (state_ == IControl::kRunning) return error::kSuccess;
      if (state_ == IControl::kStopped) return error::kNotConnected;
    }
    if (is_running()) return error::kSuccess;
    waited += kWaitStep;
    if (waited > timeoutMs) return error::kTimeout;
  }
}

orn::StringT<wchar_t> FeatureHost::GetProcessName() {
  return L"TsrSecurityService.exe";
}

void FeatureHost::SetBaseFolder(std::wstring_view folder) {
  base_folder_ = orn::StringT<wchar_t>(folder);
}

uint32_t FeatureHost::LoadControl() {
  orn::StringT<wchar_t> library = base_folder_;
  orn::AppendPath(library, kControlLibrary);
  orn::StringT<wchar_t> object = kControlObject;
  object += L"::";
  object += GetHostName().view();
  object += L".exe";
  const uint32_t code = control_plugin_.Load(library.c_str(), object.c_str());
  control_ = control_plugin_.get();
  return code;
}

uint32_t FeatureHost::StartAsProcess(const StartParams& params) {
  LogFunctionTrace trace(L"EndpointService::FeatureHost::StartAsProcess");
  orn::StringT<wchar_t> executable = base_folder_;
  if (executable.empty()) {
    orn::PathStringT<260> folder;
    if (!orn::GetModuleFolder(folder)) return GetLastError();
    executable = folder;
  }
  orn::AppendPath(executable, GetProcessName().view());

  // The configuration is a bare name: the host looks for it beside its own executable.
  orn::StringT<wchar_t> command_line = L"\"";
  command_line += executable.view();
  command_line += L"\" /process /config \"";
  command_line += GetHostName().view();
  command_line += L".exe.xml\"";
  ORN_LOG(logging::kInformation, trace.function(), L"StartHost [%s]", command_line.c_str());

  orn::ChildProcess<void*> child;
  const uint32_t code = child.Launch(command_line, /*showWindow=*/true, /*redirectOutput=*/false,
                                     /*workingDir=*/{}, /*restorePath=*/false);
  if (code != error::kSuccess) return code;

  orn::UniqueHandle process;
  DuplicateHandle(GetCurrentProcess(), child.process(), GetCurrentProcess(), process.put(),
                  /*access=*/0, /*inherit=*/TRUE, DUPLICATE_SAME_ACCESS);
  if (process && params.job != nullptr && *params.job) {
    AssignProcessToJobObject(params.job->get(), process.get());
  }
  return error::kSuccess;
}

}  // namespace EndpointService
