#include "module/console/session_list.h"

#include "module/frame/error_codes.h"
#include "module/frame/log.h"

namespace orn::RemoteAccess::Console {

uint32_t GetSessions(IRemoteAccess* remote_access, const wchar_t* function, SessionList& sessions) {
  if (remote_access == nullptr) {
    ORN_LOG(logging::kError, function, L"Invalid RemoteAccess Plugin.");
    return error::kFailed;
  }
  const uint32_t status = remote_access->GetActiveTerminalSessions(sessions);
  if (status != error::kSuccess) {
    ORN_LOG(logging::kError, function, L"Could not obtain active sessions: [%d].", status);
  }
  return status;
}

}  // namespace orn::RemoteAccess::Console
