#pragma once

#include <string>
#include <vector>

#include "module/frame/string.h"
#include "module/frame/windows.h"
#include "module/jobs/testing/child.h"

// A test program starts itself as the child that it needs:
//
//   CHILD_ROLE(EndsWithSeven) { return 7; }
//   ...
//   EXPECT_EQ(RoleProcess("EndsWithSeven").Await(), 7u);

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

// A process of this program, or of another copy of it, in a role.
class RoleProcess : public Child {
 public:
  explicit RoleProcess(const std::string& role, HANDLE token = nullptr,
                       const std::wstring& program = TestProgram())
      : Child(RoleCommandLine(role, program).c_str(), token) {}
};

// What a role prints.
void Print(const std::string& line);
// In a role that stays: the process ends when that has gone which started it.
[[noreturn]] void EndWithParent();
// The handles that this process holds. (GetProcessHandleCount would say 0 under Wine.)
size_t CountHandles();
