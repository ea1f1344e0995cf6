#include "module/jobs/file_operation_reports.h"

#include <json/value.h>

#include "module/feature/records_json.h"
#include "module/frame/event.h"
#include "module/frame/json.h"
#include "module/frame/log.h"

namespace orn::RemoteAccess {

namespace {

// False where the record cannot be written; nothing is sent then.
template <class Metadata>
bool TellTerminal(ITerminalMessages& terminals, const StringT<char>& streamId, const char* type,
                  const Metadata& metadata) {
  if (!terminals.IsTerminalAvailable(streamId)) return true;
  Json::Value content;
  if (!SaveRecord(metadata, &content)) return false;
  JsonWriter writer;
  writer.OmitEndingLineFeed();
  terminals.SendMessageOverStream(streamId, type, writer.Write(content));
  return true;
}

using Observer = IRemoteAccess::IFileOperationEvent;
using DownloadFinished = MemberFunction_1_args<Observer, uint32_t, const DownloadMetadata&,
                                               &Observer::OnDownloadFinished>;
using UploadFinished = MemberFunction_1_args<Observer, uint32_t, const UploadArchiveMetadata&,
                                             &Observer::OnUploadFinished>;

}  // namespace

void FileOperationReports::FireDownloadFinishedEvent(const DownloadMetadata& metadata,
                                                     const StringT<char>& streamId) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::FireDownloadFinishedEvent");
  if (!TellTerminal(terminals_, streamId, "remoteAccessDownloadFinished", metadata)) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to serialize the DownloadMetadata");
  }
  Event<DownloadFinished>(observers_).Fire(metadata);
}

void FileOperationReports::FireUploadFinishedEvent(const UploadArchiveMetadata& metadata,
                                                   const StringT<char>& streamId) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::FireUploadFinishedEvent");
  if (!TellTerminal(terminals_, streamId, "remoteAccessUploadFinished", metadata)) {
    ORN_LOG(logging::kError, trace.function(), L"Failed to serialize the UploadArchiveMetadata");
  }
  Event<UploadFinished>(observers_).Fire(metadata);
}

}  // namespace orn::RemoteAccess
