#include "module/rpc/comm/remote_access_server_subscribers.h"

#include "module/feature/records_json.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/rpc/comm/json_data.h"
#include "module/rpc/parameter_list.h"

namespace orn::RemoteAccess {
namespace {

template <class Record>
messaging::rpc::ParameterList EventOf(const Record& record, Comm::Parameter parameter) {
  messaging::rpc::ParameterList event;
  event.AddBytes(parameter, messaging::rpc::ToJsonData(record));
  return event;
}

}  // namespace

uint32_t StateEventServerSubscriber::OnTerminalSessionStateChanged(
    const TerminalSessionState& state) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::StateEventServerSubscriber::OnTerminalSessionStateChanged");
  send_event(Comm::kTerminalSessionStateChanged, EventOf(state, Comm::kSessionState));
  return error::kSuccess;
}

uint32_t FileOperationEventServerSubscriber::OnDownloadFinished(const DownloadMetadata& metadata) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::FileOperationEventServerSubscriber::OnDownloadFinished");
  send_event(Comm::kDownloadFinished, EventOf(metadata, Comm::kDownloadMetadata));
  return error::kSuccess;
}

uint32_t FileOperationEventServerSubscriber::OnUploadFinished(
    const UploadArchiveMetadata& metadata) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::FileOperationEventServerSubscriber::OnUploadFinished");
  send_event(Comm::kUploadFinished, EventOf(metadata, Comm::kUploadMetadata));
  return error::kSuccess;
}

uint32_t ProcessOperationServerSubscriber::OnProcessFinished(
    const ProcessExecutionMetadata& metadata) {
  const LogFunctionTrace trace(
      L"orn::RemoteAccess::ProcessOperationServerSubscriber::OnProcessFinished");
  send_event(Comm::kProcessFinished, EventOf(metadata, Comm::kProcessMetadata));
  return error::kSuccess;
}

}  // namespace orn::RemoteAccess
