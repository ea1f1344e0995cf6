#include "module/jobs/pipe_reader.h"

#include <cstdio>
#include <memory>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

#include <share.h>

namespace orn {
namespace {

constexpr DWORD kChunk = 4090;
constexpr uint32_t kPatience = 900'000;  // milliseconds

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

uint32_t ReadPipe(HANDLE pipe, std::FILE* file, const ReadCancelEvent& cancel_event) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::ReadPipe");
  char buffer[kChunk + 1];
  for (;;) {
    if (cancel_event.IsSet()) {
      ORN_LOG(logging::kInformation, trace.function(), L"Execution cancelled");
      return error::kAborted;
    }
    DWORD count = 0;
    const bool read = ReadFile(pipe, buffer, kChunk, &count, /*overlapped=*/nullptr) != FALSE;
    if (!read || count == 0) return error::kSuccess;
    buffer[count] = '\0';
    std::fputs(buffer, file);
  }
}

DWORD WINAPI RunBody(void* parameter) {
  SetThreadName(L"Process output");
  const std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(parameter));
  (*body)();
  return 0;
}

}  // namespace

ReadCancelEvent::ReadCancelEvent()
    : event_(CreateEventW(/*security=*/nullptr, /*manualReset=*/TRUE, /*signalled=*/FALSE,
                          /*name=*/nullptr)) {}

void ReadCancelEvent::Set() noexcept {
  SetEvent(event_.get());
  was_set_ = true;
}

bool ReadCancelEvent::IsSet() const noexcept {
  return was_set_ && event_ && WaitForSingleObject(event_.get(), 0) == WAIT_OBJECT_0;
}

void ReadPipeThread(HANDLE pipe, const PathStringT<260>& output_path,
                    const ReadCancelEvent& cancel_event, uint32_t* result) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::ReadPipeThread");
  ORN_LOG(logging::kInformation, trace.function(),
          L"Redirecting stdout and stderr to outputfile: [%s]", output_path.c_str());
  // No child that is started meanwhile gets the file.
  const std::unique_ptr<std::FILE, CloseFile> file(
      _wfsopen(output_path.c_str(), L"wtN", _SH_DENYNO));
  if (file == nullptr) {
    ORN_LOG(logging::kError, trace.function(), L"Could not open outputFile: [%s]",
            output_path.c_str());
    *result = error::kFailed;
    return;
  }
  const uint32_t code = ReadPipe(pipe, file.get(), cancel_event);
  if (code != error::kSuccess) {
    ORN_LOG(logging::kWarning, trace.function(), L"Read std::out returned %d", code);
  }
  *result = code;
}

bool ReaderThread::Start(std::function<void()> body) {
  const std::lock_guard lock(mutex_);
  if (JoinLocked(kPatience) != error::kSuccess) return false;
  auto parameter = std::make_unique<std::function<void()>>(std::move(body));
  thread_.reset(CreateThread(/*security=*/nullptr, /*stack=*/0, RunBody, parameter.get(),
                             /*flags=*/0, /*id=*/nullptr));
  if (!thread_) return false;
  static_cast<void>(parameter.release());  // The thread's now.
  return true;
}

uint32_t ReaderThread::Join(std::optional<uint32_t> timeout) {
  const std::lock_guard lock(mutex_);
  return JoinLocked(timeout.value_or(INFINITE));
}

uint32_t ReaderThread::JoinLocked(uint32_t timeout) {
  if (!thread_) return error::kSuccess;
  if (WaitForSingleObject(thread_.get(), timeout) != WAIT_OBJECT_0) return error::kFailed;
  thread_.reset();
  return error::kSuccess;
}

}  // namespace orn
