#pragma once

#include <cstdint>

#include "module/feature/remote_access.h"
#include "module/frame/list.h"

namespace orn::RemoteAccess::Console {

using SessionList = List<TerminalSessionState>;

// The open sessions, by a live call. 1627 without the feature. A failure is logged under the name
// `function`.
uint32_t GetSessions(IRemoteAccess* remote_access, const wchar_t* function, SessionList& sessions);

// Calls `use(session)` for each, in list order.
template <class Use>
void ForEach(const SessionList& sessions, Use use) {
  IConstListEnum<TerminalSessionState>* const walk = sessions.GetConstEnum();
  while (walk->HasNext())
    use(*walk->Next());
  walk->Release();
}

}  // namespace orn::RemoteAccess::Console
