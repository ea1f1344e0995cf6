#include "module/jobs/child_process.h"

#include <cstdlib>
#include <memory>
#include <new>

#include "module/frame/environment.h"
#include "module/frame/error_codes.h"
#include "module/frame/thread_name.h"

namespace orn {
namespace {

// The value of a variable of this process's environment; null where it is not set, is empty, or
// there is no memory.
std::unique_ptr<wchar_t[]> ReadVariable(const wchar_t* name) {
  const DWORD size = GetEnvironmentVariableW(name, nullptr, 0);
  std::unique_ptr<wchar_t[]> value(size != 0 ? new (std::nothrow) wchar_t[size]() : nullptr);
  if (value != nullptr && GetEnvironmentVariableW(name, value.get(), size) == 0) value.reset();
  return value;
}

struct FreeBlock {
  void operator()(wchar_t* block) const { std::free(block); }
};

std::unique_ptr<wchar_t, FreeBlock> EnvironmentWithPath(const wchar_t* path) {
  wchar_t* const environment = GetEnvironmentStringsW();
  if (environment == nullptr) return nullptr;
  size_t replaced = 0;
  std::unique_ptr<wchar_t, FreeBlock> block(BuildBlockWithPath(environment, path, replaced));
  FreeEnvironmentStringsW(environment);
  return block;
}

// The list of attributes of a new process, which holds at most the handles that it inherits.
class AttributeList {
 public:
  AttributeList() = default;
  AttributeList(const AttributeList&) = delete;
  AttributeList& operator=(const AttributeList&) = delete;
  ~AttributeList() {
    if (list_ != nullptr) DeleteProcThreadAttributeList(list_);
  }

  // `handles` must outlive the start of the process.
  bool Create(HANDLE* handles, size_t count) {
    const DWORD attributes = count != 0 ? 1 : 0;
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, attributes, 0, &size);
    memory_ = std::make_unique<std::byte[]>(size);
    const auto list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.get());
    if (!InitializeProcThreadAttributeList(list, attributes, 0, &size)) return false;
    list_ = list;
    return count == 0 ||
           UpdateProcThreadAttribute(list_, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles,
                                     count * sizeof(HANDLE), nullptr, nullptr);
  }

  LPPROC_THREAD_ATTRIBUTE_LIST get() const { return list_; }

 private:
  std::unique_ptr<std::byte[]> memory_;
  LPPROC_THREAD_ATTRIBUTE_LIST list_ = nullptr;
};

}  // namespace

ChildProcess<void*>::~ChildProcess() {
  if (end_event_) SetEvent(end_event_.get());
  if (watcher_.joinable()) watcher_.join();
}

uint32_t ChildProcess<void*>::Launch(const StringT<wchar_t>& commandLine, bool showWindow,
                                     bool redirectOutput, const StringT<wchar_t>& workingDir,
                                     bool restorePath) {
  if (process_) return error::kBusy;
  CloseHandles();
  if (redirectOutput) {
    const uint32_t code = RedirectOutput();
    if (code != error::kSuccess) return code;
  }

  STARTUPINFOEXW startup = {};
  startup.StartupInfo.cb = sizeof(startup);
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = stdin_read_.get();
  startup.StartupInfo.hStdOutput = stdout_write_.get();
  startup.StartupInfo.hStdError = stderr_write_.get();

  HANDLE inherited[3] = {};
  size_t inherited_count = 0;
  if (redirectOutput) {
    for (const HANDLE handle : {stdin_read_.get(), stdout_write_.get(), stderr_write_.get()}) {
      if (handle != nullptr) inherited[inherited_count++] = handle;
    }
  }
  AttributeList attributes;
  if (!attributes.Create(inherited, inherited_count)) {
    const uint32_t code = GetLastError();
    CloseHandles();
    return code;
  }
  startup.lpAttributeList = attributes.get();

  DWORD flags = EXTENDED_STARTUPINFO_PRESENT;
  if (!showWindow) flags |= CREATE_NO_WINDOW;

  bool path_replaced = false;
  std::unique_ptr<wchar_t[]> own_path;
  std::unique_ptr<wchar_t, FreeBlock> block;
  if (restorePath) {
    own_path = ReadVariable(L"PATH");
    const auto old_path = ReadVariable(kOldPathVariable);
    if (old_path != nullptr) block = EnvironmentWithPath(old_path.get());
    flags |= CREATE_UNICODE_ENVIRONMENT;
    // CreateProcessW looks for the executable along the caller's PATH.
    path_replaced = block != nullptr && own_path != nullptr;
    if (path_replaced) SetEnvironmentVariableW(L"PATH", old_path.get());
  }

  StringT<wchar_t> command_line = commandLine;  // CreateProcessW writes into it.
  PROCESS_INFORMATION started = {};
  const bool created = CreateProcessW(/*application=*/nullptr, command_line.data(),
                                      /*processSecurity=*/nullptr, /*threadSecurity=*/nullptr,
                                      /*inherit=*/redirectOutput, flags, block.get(),
                                      workingDir.empty() ? nullptr : workingDir.c_str(),
                                      &startup.StartupInfo, &started) != FALSE;
  if (path_replaced) SetEnvironmentVariableW(L"PATH", own_path.get());
  const uint32_t code = created ? error::kSuccess : GetLastError();
  if (!created) {
    CloseHandles();
    return code;
  }

  end_event_.reset(CreateEventW(/*security=*/nullptr, /*manualReset=*/TRUE, /*signalled=*/FALSE,
                                /*name=*/nullptr));
  process_id_ = started.dwProcessId;
  process_.reset(started.hProcess);
  UniqueHandle(started.hThread).reset();
  stdin_read_.reset();
  stdout_write_.reset();
  stderr_write_.reset();
  if (exit_callback_) {
    watcher_ = std::thread([this] {
      SetThreadName(L"Child process watcher");
      const HANDLE handles[] = {end_event_.get(), process_.get()};
      if (WaitForMultipleObjects(2, handles, /*all=*/FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
        exit_callback_();
      }
    });
  }
  return error::kSuccess;
}

uint32_t ChildProcess<void*>::RedirectOutput() {
  SECURITY_ATTRIBUTES inheritable = {
      .nLength = sizeof(inheritable), .lpSecurityDescriptor = nullptr, .bInheritHandle = TRUE};
  if (!CreatePipe(stdout_read_.put(), stdout_write_.put(), &inheritable, /*size=*/0)) {
    return GetLastError();
  }
  if (!SetHandleInformation(stdout_read_.get(), HANDLE_FLAG_INHERIT, 0)) {
    stdout_read_.reset();
    stdout_write_.reset();
    return 0xFFFFFFFF;
  }
  DuplicateHandle(GetCurrentProcess(), stdout_write_.get(), GetCurrentProcess(),
                  stderr_write_.put(), /*access=*/0, /*inherit=*/TRUE, DUPLICATE_SAME_ACCESS);
  return error::kSuccess;
}

void ChildProcess<void*>::CloseHandles() {
  for (UniqueHandle* const handle : {&stdin_read_, &stdin_write_, &stdout_read_, &stdout_write_,
                                     &stderr_read_, &stderr_write_, &process_}) {
    handle->reset();
  }
}

}  // namespace orn
