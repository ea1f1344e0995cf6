#pragma once

#include <functional>

#include "module/feature/testing/feature_in_agent.h"
#include "module/frame/testing/private_access.h"
#include "module/frame/utf.h"
#include "module/jobs/testing/own_temp_folder.h"

REVEAL(FileOperations, orn::RemoteAccess::RemoteAccessAL, orn::RemoteAccess::FileOperationManager,
       file_operations_);

namespace orn::RemoteAccess {

// The running feature with a storage and a temporary folder of its own; the test observes its file
// jobs: "downloaded ID STATUS", "uploaded ID STATUS".
struct FileJobsInAgent : FeatureInAgent, IRemoteAccess::IFileOperationEvent {
  const OwnTempFolder temp;
  FileOperationManager& jobs = Private<FileOperations>(feature);
  OperationResponse response;
  StringT<wchar_t> message;  // of the last cancel
  UploadArchiveMetadata uploaded;
  std::function<void()> on_event;  // while the observer is being told

  FileJobsInAgent() {
    Run();
    feature.RegisterFileOperationEvent(this, 0, 0);
    EXPECT_EQ(Open("t"), 0);
    calls.Take();
  }
  ~FileJobsInAgent() override { feature.Stop(); }

  uint32_t OnDownloadFinished(const DownloadMetadata& metadata) override {
    return Note("downloaded ", metadata.jobId, static_cast<int>(metadata.status));
  }
  uint32_t OnUploadFinished(const UploadArchiveMetadata& metadata) override {
    uploaded = metadata;
    return Note("uploaded ", metadata.jobId, static_cast<int>(metadata.status));
  }
  uint32_t Note(const char* event, const StringT<wchar_t>& jobId, int status) {
    if (on_event) on_event();
    return calls.Add(event + std::string(ToUtf8(jobId.view()).view()) + ' ' +
                     std::to_string(status));
  }
  bool HasJob(const StringT<wchar_t>& jobId) { return jobs.FindJob(jobId) != nullptr; }
  void TakeStorageAway() {
    plugins.erase(L"Product.CentralizedStorage");
    feature.Init(this);
    calls.Take();
  }
};

}  // namespace orn::RemoteAccess
