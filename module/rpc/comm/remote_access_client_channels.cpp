#include "module/rpc/comm/remote_access_client_channels.h"

#include <string>

#include "module/feature/records_json.h"
#include "module/frame/error_codes.h"
#include "module/rpc/comm/json_data.h"

namespace orn::RemoteAccess {

using messaging::rpc::ParameterList;

namespace {

// Hands the record to that operation of the observer.
template <class Observer, class Record>
int32_t Deliver(Observer* observer, uint32_t (Observer::*event)(const Record&),
                const ParameterList& input, Comm::Parameter parameter) {
  std::string text;
  Record record;
  if (!input.ReadBytes(parameter, text) || !messaging::rpc::FromJsonData(text, record)) {
    return error::kBadParameter;
  }
  return (observer->*event)(record);
}

}  // namespace

int32_t StateEventClientChannel::handle(int32_t method_id, const ParameterList& input,
                                        ParameterList&) {
  if (method_id != Comm::kTerminalSessionStateChanged) return error::kBadParameter;
  return Deliver(target(), &IRemoteAccess::IStateEvent::OnTerminalSessionStateChanged, input,
                 Comm::kSessionState);
}

int32_t FileOperationEventClientChannel::handle(int32_t method_id, const ParameterList& input,
                                                ParameterList&) {
  using Observer = IRemoteAccess::IFileOperationEvent;
  switch (method_id) {
    case Comm::kDownloadFinished:
      return Deliver(target(), &Observer::OnDownloadFinished, input, Comm::kDownloadMetadata);
    case Comm::kUploadFinished:
      return Deliver(target(), &Observer::OnUploadFinished, input, Comm::kUploadMetadata);
    default:
      return error::kBadParameter;
  }
}

int32_t ProcessOperationClientChannel::handle(int32_t method_id, const ParameterList& input,
                                              ParameterList&) {
  if (method_id != Comm::kProcessFinished) return error::kBadParameter;
  return Deliver(target(), &IRemoteAccess::IProcessOperationsEvent::OnProcessFinished, input,
                 Comm::kProcessMetadata);
}

}  // namespace orn::RemoteAccess
