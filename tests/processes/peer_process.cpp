#include "tests/processes/peer_process.h"

#include "module/jobs/testing/child_roles.h"

namespace remote_calls {

PeerProcess::PeerProcess(const std::string& role, HANDLE token)
    : PeerProcess(role, token, TestProgram()) {}

PeerProcess::PeerProcess(const std::string& role, HANDLE token, const std::wstring& program) {
  const orn::StringT<wchar_t> text =
      RoleCommandLine(role + " " + std::to_string(GetCurrentProcessId()), program);
  std::wstring command = text.c_str();
  SECURITY_ATTRIBUTES inheritable{
      .nLength = sizeof(inheritable), .lpSecurityDescriptor = nullptr, .bInheritHandle = TRUE};
  orn::UniqueHandle write;
  CreatePipe(output_.put(), write.put(), &inheritable, 0);
  SetHandleInformation(output_.get(), HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = write.get();
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION information{};
  token == nullptr ? CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                    nullptr, &startup, &information)
                   : CreateProcessAsUserW(token, nullptr, command.data(), nullptr, nullptr, TRUE, 0,
                                          nullptr, nullptr, &startup, &information);
  process_.reset(information.hProcess);
  orn::UniqueHandle(information.hThread).reset();
  pid_ = information.dwProcessId;
}

PeerProcess::~PeerProcess() {
  TerminateProcess(process_.get(), 77);
  WaitForSingleObject(process_.get(), INFINITE);
}

std::string PeerProcess::ReadLine() {
  std::string line;
  char byte = 0;
  DWORD length = 0;
  while (ReadFile(output_.get(), &byte, 1, &length, nullptr) && length == 1 && byte != '\n')
    line += byte;
  return line;
}

void Print(const std::string& line) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), (line + "\n").data(),
            static_cast<DWORD>(line.size() + 1), &written, nullptr);
}

void StayAsLongAs(DWORD parent) {
  const orn::UniqueHandle process(OpenProcess(SYNCHRONIZE, FALSE, parent));
  if (process) WaitForSingleObject(process.get(), INFINITE);
  TerminateProcess(GetCurrentProcess(), 0);
  for (;;) {
  }
}

}  // namespace remote_calls
