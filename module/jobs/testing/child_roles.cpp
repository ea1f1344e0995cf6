#include "module/jobs/testing/child_roles.h"

#include <gmock/gmock.h>

#include <map>

#include "module/frame/utf.h"
#include "module/jobs/child_process.h"

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

DWORD RunChild(const std::string& role, const std::wstring& program) {
  orn::ChildProcess<void*> child;
  EXPECT_EQ(child.Launch(RoleCommandLine(role, program), /*showWindow=*/false,
                         /*redirectOutput=*/false, /*workingDir=*/{}, /*restorePath=*/false),
            0u);
  WaitForSingleObject(child.process(), INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(child.process(), &code);
  return code;
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
