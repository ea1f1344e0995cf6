#pragma once

#include <string>
#include <vector>

#include "module/frame/string.h"
#include "module/frame/windows.h"

// A test program starts itself as the child that it needs:
//
//   CHILD_ROLE(EndsWithSeven) { return 7; }
//   ...
//   EXPECT_EQ(RunChild("EndsWithSeven"), 7u);

using RoleArguments = std::vector<std::string>;
using RoleFunction = int (*)(const RoleArguments& arguments);

// What the program does when its first argument is `argument`; the function gets those behind it.
struct ChildRole {
  ChildRole(const char* argument, RoleFunction function);
};

#define CHILD_ROLE(name)                                     \
  static int name(const RoleArguments&);                     \
  static const ChildRole name##Role("--child=" #name, name); \
  static int name([[maybe_unused]] const RoleArguments& arguments)

std::wstring TestProgram();
orn::StringT<wchar_t> RoleCommandLine(const std::string& role, const std::string& arguments = {});
// Starts `program` in that role and waits for its end. Gives the exit code.
DWORD RunChild(const std::string& role, const std::wstring& program = TestProgram());

// A name that no other test and no other run uses.
std::wstring UniqueName();

// An empty folder that goes with its content.
class TestFolder {
 public:
  TestFolder();
  ~TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::wstring path(const std::wstring& name = {}) const { return path_ + name; }
  // Copies a file that lies beside the test program. Gives the copy's path.
  std::wstring Copy(const std::wstring& file, const std::wstring& name) const;

 private:
  std::wstring path_;  // with a backslash at its end
};
