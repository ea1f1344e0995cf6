#include "module/jobs/testing/child_roles.h"

#include <gmock/gmock.h>

#include <atomic>
#include <map>

#include "module/frame/path.h"
#include "module/frame/utf.h"
#include "module/jobs/child_process.h"

namespace {

std::map<std::string, RoleFunction>& Roles() {
  static std::map<std::string, RoleFunction> roles;
  return roles;
}

std::wstring CommandLineOf(const std::wstring& program, const std::string& role) {
  return L"\"" + program + L"\" --child=" + orn::ToWide(role).c_str();
}

}  // namespace

ChildRole::ChildRole(const char* name, RoleFunction function) {
  Roles()[name] = function;
}

std::wstring TestProgram() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return path;
}

orn::StringT<wchar_t> RoleCommandLine(const std::string& role, const std::string& arguments) {
  return CommandLineOf(TestProgram(), role + " " + arguments).c_str();
}

DWORD RunChild(const std::string& role, const std::wstring& program) {
  orn::ChildProcess<void*> child;
  EXPECT_EQ(child.Launch(CommandLineOf(program, role).c_str(), /*showWindow=*/false,
                         /*redirectOutput=*/false, /*workingDir=*/{}, /*restorePath=*/false),
            0u);
  WaitForSingleObject(child.process(), INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(child.process(), &code);
  return code;
}

std::wstring UniqueName() {
  static std::atomic<int> count = 0;
  return L"RemoteAccessTest-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
         std::to_wstring(++count);
}

TestFolder::TestFolder() {
  orn::PathStringT<260> temp;
  orn::GetTempFolder(temp);
  path_ = temp.c_str() + UniqueName() + L"\\";
  CreateDirectoryW(path_.c_str(), nullptr);
}

TestFolder::~TestFolder() {
  orn::PathStringT<260> path(path_.c_str());
  orn::DeleteFolderRecursively(path);
}

std::wstring TestFolder::Copy(const std::wstring& file, const std::wstring& name) const {
  const std::wstring program = TestProgram();
  const std::wstring source = program.substr(0, program.find_last_of(L'\\') + 1) + file;
  EXPECT_TRUE(CopyFileW(source.c_str(), path(name).c_str(), /*failIfExists=*/FALSE));
  return path(name);
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
