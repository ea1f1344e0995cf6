// A program with the behaviours that the system tests ask of a command:
//
//   system_test_program sleep            stays until it is ended
//   system_test_program tree             starts a child that starts one of its own; all three stay
//   system_test_program hold FILE SIGN   keeps FILE open so that nobody else can open it, makes the
//                                        file SIGN, and ends when somebody has deleted that
//   system_test_program zero             prints "kept", a zero byte and "lost" at once
//   system_test_program errors           prints "out" to its output and "err" to its errors
//   system_test_program rights           prints what its token and its job are: a line each for
//                                        "administrators" (granted, refused or absent),
//                                        "privileges" (their names) and "job" (yes or no)
//
// A program that stays says "ready" once it has done what it is to do.

#include <windows.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

int Stay() {
  std::puts("ready");
  std::fflush(stdout);
  Sleep(INFINITE);
  return 0;
}

bool StartAgain(const wchar_t* verb) {
  wchar_t program[MAX_PATH] = {};
  GetModuleFileNameW(/*hModule=*/nullptr, program, MAX_PATH);
  std::wstring command = L"\"" + std::wstring(program) + L"\" " + verb;
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  return CreateProcessW(program, command.data(), /*lpProcessAttributes=*/nullptr,
                        /*lpThreadAttributes=*/nullptr, /*bInheritHandles=*/TRUE,
                        /*dwCreationFlags=*/0, /*lpEnvironment=*/nullptr,
                        /*lpCurrentDirectory=*/nullptr, &startup, &process) != FALSE;
}

int Hold(const wchar_t* file, const wchar_t* sign) {
  const HANDLE held = CreateFileW(file, GENERIC_READ, /*dwShareMode=*/0,
                                  /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr);
  if (held == INVALID_HANDLE_VALUE) return 1;
  CloseHandle(CreateFileW(sign, GENERIC_WRITE, /*dwShareMode=*/0, /*lpSecurityAttributes=*/nullptr,
                          CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr));
  while (GetFileAttributesW(sign) != INVALID_FILE_ATTRIBUTES)
    Sleep(50);
  return 0;
}

std::vector<char> TokenPart(TOKEN_INFORMATION_CLASS part) {
  HANDLE token = nullptr;
  OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token);
  DWORD size = 0;
  GetTokenInformation(token, part, nullptr, 0, &size);
  std::vector<char> memory(size);
  GetTokenInformation(token, part, memory.data(), size, &size);
  CloseHandle(token);
  return memory;
}

void Rights() {
  const char* administrators = "absent";
  const auto groups_memory = TokenPart(TokenGroups);
  const auto* groups = reinterpret_cast<const TOKEN_GROUPS*>(groups_memory.data());
  for (DWORD i = 0; i < groups->GroupCount; ++i) {
    const SID_AND_ATTRIBUTES& group = groups->Groups[i];
    if (!IsWellKnownSid(group.Sid, WinBuiltinAdministratorsSid)) continue;
    administrators = (group.Attributes & SE_GROUP_ENABLED) != 0 ? "granted" : "refused";
  }
  std::string names;
  const auto privileges_memory = TokenPart(TokenPrivileges);
  const auto* privileges = reinterpret_cast<const TOKEN_PRIVILEGES*>(privileges_memory.data());
  for (DWORD i = 0; i < privileges->PrivilegeCount; ++i) {
    LUID id = privileges->Privileges[i].Luid;
    char name[64] = {};
    DWORD length = sizeof(name);
    LookupPrivilegeNameA(nullptr, &id, name, &length);
    names += std::string(" ") + name;
  }
  BOOL in_job = FALSE;
  IsProcessInJob(GetCurrentProcess(), /*JobHandle=*/nullptr, &in_job);
  std::printf("administrators %s\nprivileges%s\njob %s\n", administrators, names.c_str(),
              in_job != FALSE ? "yes" : "no");
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const std::wstring_view verb = count > 1 ? arguments[1] : L"";
  if (verb == L"sleep") return Stay();
  if (verb == L"tree") return StartAgain(L"branch") ? Stay() : 1;
  if (verb == L"branch") return StartAgain(L"sleep") ? Stay() : 1;
  if (verb == L"hold" && count > 3) return Hold(arguments[2], arguments[3]);
  if (verb == L"zero") {
    std::fwrite("kept\0lost", 1, 9, stdout);
    return 0;
  }
  if (verb == L"rights") {
    Rights();
    return 0;
  }
  if (verb == L"errors") {
    std::fputs("out\n", stdout);
    std::fflush(stdout);
    std::fputs("err\n", stderr);
    return 0;
  }
  return 87;
}
