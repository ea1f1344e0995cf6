#pragma once

#include <cstdint>
#include <functional>
#include <thread>

#include "module/frame/handle.h"
#include "module/frame/string.h"

namespace orn {

template <class Handle>
class ChildProcess;

// Starts one process and holds its handle and, where asked for, the pipe with its output:
//
//   ChildProcess<void*> child;
//   const uint32_t code = child.Launch(L"cmd.exe /c dir", /*showWindow=*/false,
//                                      /*redirectOutput=*/true, /*workingDir=*/L"C:\\",
//                                      /*restorePath=*/true);
//
// Not thread-safe. The destructor leaves the process alone.
template <>
class ChildProcess<void*> {
 public:
  ChildProcess() = default;
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  // Returns a Windows code, 0 for success, 170 where a process is held already.
  // `showWindow` false starts it without a console window. `redirectOutput` puts its output and
  // errors on one pipe, and it inherits nothing else. An empty `workingDir` means this process's
  // own. `restorePath` gives it the machine's PATH, which the variable ORN_TSR_OLD_PATH keeps, and
  // finds the executable along it; for that the PATH of this process is another one during the
  // call, and two calls can cross.
  uint32_t Launch(const StringT<wchar_t>& commandLine, bool showWindow, bool redirectOutput,
                  const StringT<wchar_t>& workingDir, bool restorePath);

  // Called once, on a thread of its own, when a process that is launched later has ended; never
  // after the destructor has begun.
  void SetExitCallback(std::function<void()> callback) { exit_callback_ = std::move(callback); }

  // Not to be closed by the caller; null while no process runs.
  HANDLE process() const { return process_.get(); }
  // Where the output is read; broken once all of its writers have gone. Not to be closed by the
  // caller.
  HANDLE stdout_read() const { return stdout_read_.get(); }
  // 0xFFFFFFFF before the start.
  uint32_t process_id() const { return process_id_; }

 private:
  // The code of CreatePipe, or 0xFFFFFFFF.
  uint32_t RedirectOutput();
  void CloseHandles();

  // Nothing feeds the child's input or reads its errors apart: those ends stay null.
  UniqueHandle stdin_read_;
  UniqueHandle stdin_write_;
  UniqueHandle stdout_read_;
  UniqueHandle stdout_write_;
  UniqueHandle stderr_read_;
  UniqueHandle stderr_write_;
  UniqueHandle process_;
  std::function<void()> exit_callback_;
  UniqueHandle end_event_;
  std::thread watcher_;
  uint32_t process_id_ = 0xFFFFFFFF;
};

}  // namespace orn
