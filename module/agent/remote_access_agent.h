#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>

#include "module/agent/agent.h"
#include "module/agent/easy_json.h"
#include "module/feature/remote_access.h"
#include "module/frame/log_reference.h"

namespace orn::RemoteAccess {

// The management server's door to the feature, exported as "RemoteAccess.Agent": policy methods
// come in as JSON and go to IRemoteAccess as records; finished jobs and runs go out as events.
// Knows nothing of what they do. Policy methods may run on several threads at a time.
class RemoteAccessAgent : public EnterpriseIntegration::Agent<IRemoteAccess>,
                          public IRemoteAccess::IFileOperationEvent,
                          public IRemoteAccess::IProcessOperationsEvent {
 public:
  RemoteAccessAgent();

  // The result is that of the last step that was tried: 1627 from the manager only where there is
  // no feature to observe.
  int32_t Start() override;
  void Stop() override;

  uint32_t GetStatus(uint32_t options, EnterpriseIntegration::IAgentStatusSink* sink) override;
  // Every call but null is completed, once. Codes of its own: 21 without the feature, 13 for a call
  // without name, input or output, 4317 for an unknown method, and 160 for input that a method does
  // not take.
  void RunPolicyMethod(EnterpriseIntegration::IPolicyMethodCall* call) override;
  bool Reserved2() override { return true; }
  uint32_t GetPolicyNames(List<StringT<wchar_t>>& names) override;

  // The observers. 5002 without a manager, 1627 where it does not take the event.
  uint32_t OnDownloadFinished(const DownloadMetadata& metadata) override;
  uint32_t OnUploadFinished(const UploadArchiveMetadata& metadata) override;
  uint32_t OnProcessFinished(const ProcessExecutionMetadata& metadata) override;

 private:
  using EasyJson = EnterpriseIntegration::EasyJson;

  // The handlers. Each has completed the call exactly where it returns true.
  bool SetEnabled(EasyJson& json);
  bool GetEnabled(EasyJson& json);
  bool StartDownload(EasyJson& json);
  bool StartUploadArchive(EasyJson& json);
  bool CancelDownload(EasyJson& json);
  bool CancelUpload(EasyJson& json);
  bool StartProcess(EasyJson& json);

  template <class Input>
  using StartOperation = uint32_t (IRemoteAccess::*)(const Input&, OperationResponse&);
  using CancelOperation = uint32_t (IRemoteAccess::*)(const StringT<wchar_t>&, StringT<wchar_t>&);

  // `function` is the name under which they log.
  template <class Input>
  bool StartFileOperation(const wchar_t* function, EasyJson& json, StartOperation<Input> start);
  bool CancelFileOperation(const wchar_t* function, EasyJson& json, CancelOperation cancel);
  template <class Record>
  uint32_t SendEvent(const wchar_t* function, const wchar_t* name, const Record& record);

  std::unordered_map<std::wstring, std::function<bool(EasyJson&)>> methods_;  // fixed
  logging::LogReference log_;
};

}  // namespace orn::RemoteAccess
