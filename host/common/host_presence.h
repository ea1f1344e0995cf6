#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "module/frame/handle.h"

namespace host {

// The environment variable that sets the agents of one machine apart: its value becomes part of the
// names below. A host program hands it down to the processes that it starts.
inline constexpr const wchar_t* kInstanceVariable = L"ORN_TSR_INSTANCE";

// 1 to 64 of A-Z a-z 0-9 . _ -
bool IsHostName(std::wstring_view name);

// Who runs the host of some name, known to all processes of the machine through named kernel
// objects:
//
//   Guard    mutex, held for moments: the state is looked at and changed under it
//   Claim    mutex, owned by the main thread of the process that runs the host; tried under Guard
//            only, so that a look at it is never taken for an owner
//   Life     mutex, owned like Claim; whoever gets it by waiting knows that the process has ended
//   Started  event, manual-reset, set while a host runs; taken back by who finds that it has died
//   Stop     event, manual-reset, asks the host to stop
//
// Mutexes go with the process that owns them, however it ends; so nothing here can be left over.
// Every process may hold any of them open. One more event carries the process id in its name, by
// which a process finds what it declares itself.
class HostPresence {
 public:
  // Opens the objects of `name`, making those that are not there. Returns a status: 0, 123 for a
  // bad name (of host or instance), or why an object could not be opened.
  uint32_t Open(std::wstring_view name);

  // The process runs this host from now on, to its end. To be called on the main thread, which must
  // live as long as the process; once. Returns 0; 183 where another process (or this one already)
  // runs it; 1460 where the state was not to be had.
  uint32_t Declare();

  // Returns 0, or 1460 where the state was not to be had.
  uint32_t IsRunning(bool& running);
  // Whether this very process declared the host.
  bool IsDeclaredHere() const;
  // Asks a running host to stop; `running` says whether there was one. Returns as IsRunning.
  uint32_t RequestStop(bool& running);

  // Not owned by the caller. What it gets by waiting for `life`, it gives back at once by
  // ReleaseMutex.
  HANDLE life() const { return life_.get(); }
  HANDLE started() const { return started_.get(); }
  HANDLE stop() const { return stop_.get(); }

 private:
  // Under Guard. Whether there is an owner; takes the Started event of a dead one back.
  bool IsClaimed();

  std::wstring prefix_;
  orn::UniqueHandle guard_;
  orn::UniqueHandle claim_;
  orn::UniqueHandle life_;
  orn::UniqueHandle started_;
  orn::UniqueHandle stop_;
  orn::UniqueHandle declared_here_;
};

}  // namespace host
