#pragma once

#include <string>

#include "module/frame/handle.h"

// What RemoteCallsTestPlugin.dll's "RemoteAccess.Fake" does on "CancelDownload", by the job's id:
//
//   hang    sets the event kBegun and waits for kGoOn; a new observer sets kBegun too
//   die     ends the process at once
//   else    gives the id back as the message
namespace remote_calls {

inline constexpr const wchar_t* kBegun = L"begun";
inline constexpr const wchar_t* kGoOn = L"go-on";
// Set for a host whose "RemoteTerminalManager.Fake" is to set kBegun and wait for kGoOn in UnInit.
inline constexpr const wchar_t* kHold = L"hold";
// Of the test's own.
inline constexpr const wchar_t* kStop = L"stop";

// Manual-reset, shared by the processes of one instance, as long as one of them holds it.
inline orn::UniqueHandle SharedEvent(const wchar_t* name) {
  wchar_t instance[128] = {};
  GetEnvironmentVariableW(L"ORN_TSR_INSTANCE", instance, 128);
  return orn::UniqueHandle(
      CreateEventW(nullptr, TRUE, FALSE, (std::wstring(instance) + L"-" + name).c_str()));
}

}  // namespace remote_calls
