#include "module/jobs/testing/child_roles.h"

#include <gmock/gmock.h>

#include <map>

#include "module/frame/utf.h"

namespace {

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

void Print(const std::string& line) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), (line + "\n").data(),
            static_cast<DWORD>(line.size() + 1), &written, nullptr);
}

void EndWithParent() {
  // Which alone has the other end.
  char byte = 0;
  DWORD length = 0;
  ReadFile(GetStdHandle(STD_INPUT_HANDLE), &byte, 1, &length, nullptr);
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
