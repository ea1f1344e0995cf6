#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

#include "module/frame/handle.h"
#include "module/frame/log_reference.h"
#include "module/frame/string.h"
#include "module/platform/winpty.h"

namespace orn::RemoteTerminalInstance {

// Hears of the death of a shell.
struct TerminalInstanceEvents {
  // On the instance's check thread, which Stop joins: it must return soon and must not stop the
  // instance.
  virtual void OnProcessTerminate(const StringT<char>& id) = 0;

 protected:
  ~TerminalInstanceEvents() = default;
};

// One console with one PowerShell in it. It opens the console, starts the shell and watches it; the
// two pipes are read and written by whoever asked for them.
//
// Start, Stop and SetSize are called under the owner's mutex. Stop must have come before the
// destructor if Start has succeeded: it joins the check thread and frees the console. A failed
// Start takes nothing back; Stop does, as far as the start got.
class TerminalInstance {
 public:
  explicit TerminalInstance(const WinptyTable& winpty);
  TerminalInstance(const TerminalInstance&) = delete;
  TerminalInstance& operator=(const TerminalInstance&) = delete;
  ~TerminalInstance() = default;

  // Called once. Returns 0 or 1627; the size is passed on unchecked.
  uint32_t Start(const StringT<char>& id, uint32_t cols, uint32_t rows, StringT<wchar_t>& coninName,
                 StringT<wchar_t>& conoutName);
  // Ends the shell by freeing its console. Not on the check thread.
  void Stop();
  // Returns 0 or 1627.
  uint32_t SetSize(uint32_t cols, uint32_t rows);

  // Set once Start has succeeded: a shell that dies before that gives no notice.
  void SetEvents(TerminalInstanceEvents* events) { events_ = events; }

  // Copies the process's environment with the value of ORN_TSR_OLD_PATH as its PATH. Returns a
  // Windows code; on 0 `*block` is to be released with free, else it is null.
  static uint32_t FixEnvironmentVars(wchar_t** block);

 private:
  void ProcEndCheckThread();

  // The order of the members is the order of their end.
  const WinptyTable* winpty_;                              // Not owned.
  winpty_t* agent_ = nullptr;                              // freed by Stop only
  std::atomic<TerminalInstanceEvents*> events_ = nullptr;  // Not owned.
  std::thread process_check_thread_;
  UniqueHandle process_;
  UniqueHandle stop_event_;
  StringT<char> id_;
  logging::LogReference log_;
};

}  // namespace orn::RemoteTerminalInstance
