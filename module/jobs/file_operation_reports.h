#pragma once

#include "module/feature/records.h"
#include "module/feature/remote_access.h"
#include "module/frame/observers.h"
#include "module/frame/string.h"
#include "module/terminal/terminal_messages.h"

namespace orn::RemoteAccess {

using FileObservers = SynchronyzedObjectContainer<IRemoteAccess::IFileOperationEvent*>;

// Tells of the end of a file job: first the terminal that asked for it, if its session is still
// there, by a message of the type "remoteAccessDownloadFinished" or "remoteAccessUploadFinished"
// whose content is the record's JSON without a line feed; then all observers, in their order. On
// the calling thread, which waits for all of them. Any thread.
class FileOperationReports {
 public:
  // Both are borrowed.
  FileOperationReports(ITerminalMessages& terminals, FileObservers& observers)
      : terminals_(terminals), observers_(observers) {}
  FileOperationReports(const FileOperationReports&) = delete;
  FileOperationReports& operator=(const FileOperationReports&) = delete;

  void FireDownloadFinishedEvent(const DownloadMetadata& metadata, const StringT<char>& streamId);
  void FireUploadFinishedEvent(const UploadArchiveMetadata& metadata,
                               const StringT<char>& streamId);

 private:
  ITerminalMessages& terminals_;
  FileObservers& observers_;
};

}  // namespace orn::RemoteAccess
