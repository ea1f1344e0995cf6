#pragma once

#include <cstdint>

#include "module/jobs/archive_compressor.h"
#include "module/jobs/file_operation.h"
#include "module/jobs/packing_control.h"

// The making of one archive for an upload, in a temporary folder of its own.

namespace orn::RemoteAccess {

// The name of the root of those folders.
inline constexpr wchar_t kArchiveTempRoot[] = L"Tessaro.{899B55B7-2737-4C6E-AE15-51B2D361C85E}";

// Packs what the task names. Sets the task's `result` and `archivePath`, and the `errorCode` and
// `error` of each of the metadata's items that it got to:
//   0     packed; items may have failed
//   1223  cancelled or stopped
//   1359  no temporary folder
//   1627  no item was packed
//   1631  the archive could not be written
// `control` is asked whether to go on, and is given the compressor to abort; a wish to end that was
// met, or came too late, is cleared.
void CreateUploadArchive(UploadArchiveTask& task, UploadArchiveMetadata& metadata,
                         PackingControl& control);

// 0 where the item is a file or a folder with something in it; else 2, 161, 232 or 267. Throws
// std::filesystem::filesystem_error where its kind cannot be read.
uint32_t ValidateUploadItem(const UploadItemResult& item);

// Adds the file under its path without the drive. 5002 without a compressor, 5023 where it does not
// take the file.
uint32_t PackItem(ArchiveCompressor& compressor, const PathStringT<260>& path);

}  // namespace orn::RemoteAccess
