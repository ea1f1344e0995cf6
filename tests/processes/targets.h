#pragma once

#include <string>

#include "module/frame/handle.h"

// RemoteCallsTestPlugin.dll's "RemoteAccess.Fake" sets the event kBegun for each new observer of
// states. A "CancelDownload" of the job "die" ends the process at once, any other gives the id back
// as the message.
namespace remote_calls {

inline constexpr const wchar_t* kBegun = L"begun";
inline constexpr const wchar_t* kGoOn = L"go-on";
// Set for a host whose "RemoteTerminalManager.Fake" is to set kBegun and wait for kGoOn in UnInit.
inline constexpr const wchar_t* kHold = L"hold";

// Manual-reset, shared by the processes of one instance, as long as one of them holds it.
inline orn::UniqueHandle SharedEvent(const wchar_t* name) {
  wchar_t instance[128] = {};
  GetEnvironmentVariableW(L"ORN_TSR_INSTANCE", instance, 128);
  return orn::UniqueHandle(
      CreateEventW(nullptr, TRUE, FALSE, (std::wstring(instance) + L"-" + name).c_str()));
}

}  // namespace remote_calls
