#pragma once

#include <cstdint>
#include <mutex>

#include "module/feature/enabled_setting.h"
#include "module/feature/records.h"
#include "module/frame/serv_plugin.h"
#include "module/frame/string.h"
#include "module/jobs/file_operation_manager.h"
#include "module/jobs/file_operation_reports.h"
#include "module/platform/centralized_storage.h"
#include "module/telemetry/product_matrix_app.h"

namespace orn::RemoteAccess {

// Files of this machine that go to the storage as one archive. The manager packs it, the storage
// transfers it; here an upload is let in, handed from the one to the other, cancelled in either
// place, and brought to its end. However it ends, no job and no archive stays. Any thread, several
// at once.
class UploadJobs {
 public:
  // Everything is borrowed.
  UploadJobs(EnabledSetting& enabled, ServPlugin<tsrsdk::Product::ICentralizedStorage>& storage,
             FileOperationManager& jobs, FileOperationReports& reports,
             const ProductMatrix::ProductMatrixApp& telemetry)
      : enabled_(enabled),
        storage_(storage),
        jobs_(jobs),
        reports_(reports),
        telemetry_(telemetry) {}
  UploadJobs(const UploadJobs&) = delete;
  UploadJobs& operator=(const UploadJobs&) = delete;

  // Returns 0 once the packing is queued; the job's id is in the response then, and the end comes
  // as a report. Otherwise a Windows code, 1260, 1359, 8348, 1375, 123, 4306, 170 or the storage's
  // own, and there is no job. The response's message is the word for the code.
  uint32_t StartUploadArchive(const UploadArchiveInput& input, OperationResponse& response);
  // 0 where the archive was waiting or being packed; an upload that was waiting is reported on this
  // thread, before the return. One that is with the storage is cancelled there, and the storage's
  // code returned. 6 where no upload has that id.
  uint32_t CancelUpload(const StringT<wchar_t>& jobId, StringT<wchar_t>& message);

  // As FileOperationManagerEvents says. Waits for reports that are being taken in.
  void OnUploadArchivePrepared(const UploadArchiveTask& task,
                               const UploadArchiveMetadata& metadata);
  // As IFileManagerEvent says; 0. A report that comes while the storage's Upload has not returned
  // yet waits for it; Upload must not wait for its own report.
  uint32_t OnUploadFinished(const StringT<wchar_t>& uploadId,
                            const UploadArchiveMetadata& metadata);

 private:
  // Everything but the words of the response.
  uint32_t Start(const UploadArchiveInput& input, OperationResponse& response);
  uint32_t Refuse(const char* reason, uint32_t code) const;
  uint32_t ValidateUploadArchiveInput(const UploadArchiveInput& input);
  // Whether the storage has taken the archive; reports the end where it has not.
  bool HandToStorage(const UploadArchiveTask& task, UploadArchiveMetadata& report,
                     const FileOperationJob& job);
  void ToolRanOnUploadFinished(const UploadArchiveMetadata& metadata) const;

  EnabledSetting& enabled_;
  ServPlugin<tsrsdk::Product::ICentralizedStorage>& storage_;
  FileOperationManager& jobs_;
  FileOperationReports& reports_;
  const ProductMatrix::ProductMatrixApp& telemetry_;

  // Held while an upload is handed over until its job and its archive can be found by the report,
  // and while a report looks for them. Before the locks of the manager and, where the storage
  // refuses an archive, before the terminals' and the observers'.
  std::mutex upload_report_mutex_;
};

}  // namespace orn::RemoteAccess
