#pragma once

#include <functional>

#include "module/feature/testing/feature_in_agent.h"
#include "module/frame/testing/private_access.h"
#include "module/frame/testing/test_folder.h"
#include "module/frame/utf.h"

namespace orn::RemoteAccess {

struct FileOperations : PrivateMember<RemoteAccessAL, FileOperationManager> {};

}  // namespace orn::RemoteAccess

template struct Reveal<orn::RemoteAccess::FileOperations,
                       &orn::RemoteAccess::RemoteAccessAL::file_operations_>;

namespace orn::RemoteAccess {

// The running feature with a storage, an observer of its file jobs, who is the test, and a
// temporary folder of its own.
struct FileJobsInAgent : FeatureInAgent, IRemoteAccess::IFileOperationEvent {
  TestFolder folder;
  std::wstring old_temp = SetTemp(folder / L"");
  FileOperationManager& jobs = Private<FileOperations>(feature);
  OperationResponse response;
  StringT<wchar_t> message;  // of the last cancel
  DownloadMetadata downloaded;
  UploadArchiveMetadata uploaded;
  std::function<void()> on_event;  // while the observer is being told

  FileJobsInAgent() {
    Run();
    feature.RegisterFileOperationEvent(this, 0, 0);
    bool enabled = false;
    feature.GetEnabled(&enabled);
    calls.Take();
  }
  ~FileJobsInAgent() override {
    feature.Stop();
    SetTemp(old_temp);
  }

  static std::wstring SetTemp(const std::wstring& path) {
    wchar_t old[MAX_PATH] = {};
    GetEnvironmentVariableW(L"TMP", old, MAX_PATH);
    SetEnvironmentVariableW(L"TMP", path.c_str());
    return old;
  }
  uint32_t OnDownloadFinished(const DownloadMetadata& metadata) override {
    downloaded = metadata;
    return Note("downloaded ", metadata.jobId, static_cast<int>(metadata.status));
  }
  uint32_t OnUploadFinished(const UploadArchiveMetadata& metadata) override {
    uploaded = metadata;
    return Note("uploaded ", metadata.jobId, static_cast<int>(metadata.status));
  }
  uint32_t Note(std::string event, const StringT<wchar_t>& jobId, int status) {
    if (on_event) on_event();
    event += ToUtf8(jobId.view()).c_str();
    return calls.Add(event + ' ' + std::to_string(status));
  }
  bool HasJob(const wchar_t* jobId) { return jobs.FindJob(jobId) != nullptr; }
};

}  // namespace orn::RemoteAccess
