#pragma once

#include <cstdint>
#include <memory>

#include "module/feature/records.h"
#include "module/frame/path_string.h"
#include "module/frame/string.h"

namespace orn::RemoteAccess {

// One download or upload. Held by shared_ptr: who has looked it up keeps it valid.
struct FileOperationJob {
  FileOperationJob();  // Reserves 64 characters for each of the texts.

  // What the storage calls the running transfer; empty while an upload's archive is prepared.
  // Guarded by the job map's mutex once the job is in the map.
  StringT<wchar_t> operationId;
  StringT<char> streamId;  // the terminal that is told of the end, or empty
  uint32_t type = 0;       // kDownloadJob or kUploadJob
};

inline constexpr uint32_t kDownloadJob = 1;
inline constexpr uint32_t kUploadJob = 2;

// An archive to be packed, and what became of it.
struct UploadArchiveTask {
  StringT<wchar_t> jobId;
  UploadArchiveInput input;
  PathStringT<260> archivePath;  // empty until the archive is made
  uint32_t result = 0;           // a Windows code
};

// What waits for the storage's report on an upload.
struct UploadArchiveCache {
  PathStringT<260> archivePath;  // deleted when the upload has ended
  UploadArchiveMetadata metadata;
};

struct FileOperationManagerEvents {
  // Once for each task that leaves the queue, packed or cancelled: on the worker's thread, the
  // canceller's or that of Stop, with none of the manager's locks held.
  virtual void OnUploadArchivePrepared(const UploadArchiveTask& task,
                                       const UploadArchiveMetadata& metadata) = 0;

 protected:
  ~FileOperationManagerEvents() = default;
};

}  // namespace orn::RemoteAccess
