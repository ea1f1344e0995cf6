#include "module/jobs/testing/child.h"

Child::Child(std::wstring command_line, HANDLE token) {
  SECURITY_ATTRIBUTES inheritable{
      .nLength = sizeof(inheritable), .lpSecurityDescriptor = nullptr, .bInheritHandle = TRUE};
  orn::UniqueHandle read, write;
  CreatePipe(read.put(), input_.put(), &inheritable, 0);
  // With room for what nobody reads.
  CreatePipe(output_.put(), write.put(), &inheritable, /*size=*/65536);
  for (const HANDLE own : {input_.get(), output_.get()})
    SetHandleInformation(own, HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = read.get();
  startup.hStdOutput = startup.hStdError = write.get();
  PROCESS_INFORMATION started{};
  token == nullptr
      ? CreateProcessW(nullptr, command_line.data(), nullptr, nullptr,
                       /*inheritHandles=*/TRUE, 0, nullptr, nullptr, &startup, &started)
      : CreateProcessAsUserW(token, nullptr, command_line.data(), nullptr, nullptr,
                             /*inheritHandles=*/TRUE, 0, nullptr, nullptr, &startup, &started);
  process_.reset(started.hProcess);
  orn::UniqueHandle(started.hThread).reset();
  pid_ = started.dwProcessId;
}

std::optional<std::string> Child::ReadLine() {
  std::string line;
  char byte = 0;
  DWORD length = 0;
  while (ReadFile(output_.get(), &byte, 1, &length, nullptr) && length == 1) {
    if (byte == '\n') return line;
    if (byte != '\r') line += byte;
  }
  return line.empty() ? std::nullopt : std::optional(line);
}

void Child::Kill() {
  TerminateProcess(process_.get(), 77);
  WaitForSingleObject(process_.get(), INFINITE);
}

DWORD Child::Await() {
  DWORD code = 0xFFFFFFFF;  // Of one that could not be started.
  WaitForSingleObject(process_.get(), INFINITE);
  GetExitCodeProcess(process_.get(), &code);
  return code;
}
