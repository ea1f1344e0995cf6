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
// `role` may be followed by a blank and arguments.
orn::StringT<wchar_t> RoleCommandLine(const std::string& role,
                                      const std::wstring& program = TestProgram());
// Waits for the child's end. Gives its exit code.
DWORD RunChild(const std::string& role, const std::wstring& program = TestProgram());
// The handles that this process holds. (GetProcessHandleCount would say 0 under Wine.)
size_t CountHandles();
