#pragma once

#include <cstdint>

#include "module/feature/enabled_setting.h"
#include "module/feature/records.h"
#include "module/frame/serv_plugin.h"
#include "module/frame/string.h"
#include "module/jobs/file_operation_manager.h"
#include "module/jobs/file_operation_reports.h"
#include "module/platform/centralized_storage.h"
#include "module/telemetry/product_matrix_app.h"

namespace orn::RemoteAccess {

// Files that come from the storage to this machine. The storage does the transfer; here a download
// is let in, filed as a job, cancelled, and brought to its end: an aborted one leaves none of its
// files behind. Any thread, several at once.
class DownloadJobs {
 public:
  // Everything is borrowed.
  DownloadJobs(EnabledSetting& enabled, ServPlugin<tsrsdk::Product::ICentralizedStorage>& storage,
               FileOperationManager& jobs, FileOperationReports& reports,
               const ProductMatrix::ProductMatrixApp& telemetry)
      : enabled_(enabled),
        storage_(storage),
        jobs_(jobs),
        reports_(reports),
        telemetry_(telemetry) {}
  DownloadJobs(const DownloadJobs&) = delete;
  DownloadJobs& operator=(const DownloadJobs&) = delete;

  // Returns 0 once the storage has begun; the job's id is in the response then, and the end comes
  // as a report. Otherwise a Windows code, 1260, 1359, 8348, 1375 or the storage's own, and there
  // is no job. The response's message is the word for the code; "N/A" for success and for what the
  // storage has refused.
  uint32_t StartDownload(const DownloadInput& input, OperationResponse& response);
  // Only asks the storage, whose code is returned: the job ends with the report. 6 where no
  // download has that id.
  uint32_t CancelDownload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message);

  // As IFileManagerEvent says; 0. A report that comes before StartDownload has filed the job is
  // lost, and the job stays: the storage does not report so early.
  uint32_t OnDownloadFinished(const StringT<wchar_t>& downloadId, const DownloadMetadata& metadata);

 private:
  // 0 where the storage may be asked.
  uint32_t Admit(const DownloadInput& input);
  uint32_t ValidateDownloadInput(const DownloadInput& input);
  void ToolRanOnDownloadFinished(const DownloadMetadata& metadata) const;

  EnabledSetting& enabled_;
  ServPlugin<tsrsdk::Product::ICentralizedStorage>& storage_;
  FileOperationManager& jobs_;
  FileOperationReports& reports_;
  const ProductMatrix::ProductMatrixApp& telemetry_;
};

}  // namespace orn::RemoteAccess
