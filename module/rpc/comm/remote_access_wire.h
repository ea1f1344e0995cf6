#pragma once

#include <cstdint>

#include "module/feature/remote_access.h"
#include "module/rpc/module_name.h"

// What both ends of the calls of IRemoteAccess have to agree on.
namespace orn::RemoteAccess::Comm {

// Marks the classes that carry the interface between processes.
class Base {};

enum Method : int32_t {
  kSetEnabled = 1,
  kGetEnabled = 2,
  kGetActiveTerminalSessions = 3,
  kStartDownload = 4,
  kCancelDownload = 5,
  kStartUploadArchive = 6,
  kCancelUpload = 7,
  kStartProcess = 8,
};

enum EventInterface : int32_t {
  kStateEvent = 1,
  kFileOperationEvent = 2,
  kProcessOperationsEvent = 3,
};

enum EventMethod : int32_t {
  kTerminalSessionStateChanged = 1,
  kDownloadFinished = 2,
  kUploadFinished = 3,
  kProcessFinished = 4,
};

// Parameters: a low byte of 1 is a number of 32 bits, one of 2 a text. Texts are JSON but those of
// the cancels, which are UTF-16.
enum Parameter : uint32_t {
  kEnabled = 0x0101,
  kSessions = 0x0202,      // of the call
  kSessionState = 0x0202,  // of the event
  kDownloadInput = 0x0302,
  kDownloadOutput = 0x0402,
  kDownloadMetadata = 0x0502,
  kUploadInput = 0x0602,
  kUploadOutput = 0x0702,
  kUploadMetadata = 0x0802,
  kCancelDownloadJobId = 0x0902,
  kCancelDownloadMessage = 0x0A02,
  kCancelUploadJobId = 0x0B02,
  kCancelUploadMessage = 0x0C02,
  kProcessInput = 0x0D02,
  kProcessUploadInput = 0x0E02,
  kProcessOutput = 0x0F02,
  kProcessMetadata = 0x1002,
};

}  // namespace orn::RemoteAccess::Comm

template <>
inline constexpr const char* messaging::rpc::module_name<orn::RemoteAccess::IRemoteAccess> =
    "RemoteAccess";
