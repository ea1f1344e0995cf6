#include "module/jobs/testing/child_roles.h"

#include <gmock/gmock.h>

#include <map>

#include "module/frame/utf.h"

namespace {

constexpr const wchar_t* kParentVariable = L"TEST_PARENT";

std::map<std::string, RoleFunction>& Roles() {
  static std::map<std::string, RoleFunction> roles;
  return roles;
}

}  // namespace

ChildRole::ChildRole(const char* argument, RoleFunction function) {
  Roles()[argument] = function;
}

std::wstring TestProgram() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return path;
}

orn::StringT<wchar_t> RoleCommandLine(const std::string& role, const std::wstring& program) {
  return (L"\"" + program + L"\" --child=" + orn::ToWide(role).c_str()).c_str();
}

RoleProcess::RoleProcess(const std::string& role, HANDLE token, const std::wstring& program) {
  SetEnvironmentVariableW(kParentVariable, std::to_wstring(GetCurrentProcessId()).c_str());
  std::wstring command(RoleCommandLine(role, program).view());
  SECURITY_ATTRIBUTES inheritable{
      .nLength = sizeof(inheritable), .lpSecurityDescriptor = nullptr, .bInheritHandle = TRUE};
  orn::UniqueHandle write;
  // With room for what nobody reads.
  CreatePipe(output_.put(), write.put(), &inheritable, /*size=*/65536);
  SetHandleInformation(output_.get(), HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = write.get();
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION information{};
  const BOOL started =
      token == nullptr ? CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        nullptr, &startup, &information)
                       : CreateProcessAsUserW(token, nullptr, command.data(), nullptr, nullptr,
                                              TRUE, 0, nullptr, nullptr, &startup, &information);
  EXPECT_TRUE(started) << GetLastError();
  process_.reset(information.hProcess);
  orn::UniqueHandle(information.hThread).reset();
  pid_ = information.dwProcessId;
}

std::string RoleProcess::ReadLine() {
  std::string line;
  char byte = 0;
  DWORD length = 0;
  while (ReadFile(output_.get(), &byte, 1, &length, nullptr) && length == 1 && byte != '\n')
    line += byte;
  return line;
}

void RoleProcess::Kill() {
  TerminateProcess(process_.get(), 77);
  WaitForSingleObject(process_.get(), INFINITE);
}

DWORD RoleProcess::Await() {
  WaitForSingleObject(process_.get(), INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(process_.get(), &code);
  return code;
}

void Print(const std::string& line) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), (line + "\n").data(),
            static_cast<DWORD>(line.size() + 1), &written, nullptr);
}

void EndWithParent() {
  wchar_t pid[16] = {};
  GetEnvironmentVariableW(kParentVariable, pid, 16);
  const orn::UniqueHandle parent(
      OpenProcess(SYNCHRONIZE, /*inherit=*/FALSE, static_cast<DWORD>(_wtoi(pid))));
  if (parent) WaitForSingleObject(parent.get(), INFINITE);
  TerminateProcess(GetCurrentProcess(), 0);
  for (;;) {
  }
}

size_t CountHandles() {
  size_t count = 0;
  // Windows gives the lowest free numbers, all of them multiples of 4.
  for (uintptr_t number = 4; number < 0x4000; number += 4) {
    DWORD flags = 0;
    if (GetHandleInformation(reinterpret_cast<HANDLE>(number), &flags)) ++count;
  }
  return count;
}

int main(int argc, char** argv) {
  const auto role = argc > 1 ? Roles().find(argv[1]) : Roles().end();
  if (role != Roles().end()) {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    return role->second(RoleArguments(argv + 2, argv + argc));
  }
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
