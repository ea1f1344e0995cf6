#include "host/plugins/process_info/process_info_db.h"

#include <gtest/gtest.h>

#include "host/common/file_path.h"
#include "host/common/security.h"
#include "host/plugins/common/fake_host.h"
#include "module/frame/handle.h"
#include "module/frame/utf.h"

namespace host {
namespace {

// A process that waits until it is ended.
class Sleeper {
 public:
  Sleeper() {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    wchar_t command[] = L"cmd.exe /c pause";
    EXPECT_TRUE(CreateProcessW(nullptr, command, nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                               nullptr, &startup, &process_))
        << GetLastError();
  }
  ~Sleeper() {
    End();
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
  }
  Sleeper(const Sleeper&) = delete;
  Sleeper& operator=(const Sleeper&) = delete;

  void End() const {
    TerminateProcess(process_.hProcess, 0);
    WaitForSingleObject(process_.hProcess, INFINITE);
  }
  int32_t pid() const { return static_cast<int32_t>(process_.dwProcessId); }

 private:
  PROCESS_INFORMATION process_{};
};

TEST(ProcessInfoDb, GivesARecordForEveryProcessId) {
  ProcessInfoDb db;
  ASSERT_EQ(db.Init(nullptr), 0);
  {
    SCOPED_TRACE("this process, by both faces");
    const auto own = static_cast<int32_t>(GetCurrentProcessId());
    messaging::process_record record;
    db.get(own, record);
    EXPECT_EQ(record.pid, own);
    EXPECT_EQ(record.path, orn::ToUtf8(ProgramPath()).c_str());
    EXPECT_EQ(record.admin, db.get(own)->admin);
  }
  {
    SCOPED_TRACE("nobody");
    for (const int32_t pid : {0, -1, 0x7FFFFFF0}) {
      const auto info = db.get(pid);
      ASSERT_NE(info, nullptr);
      EXPECT_EQ(info->pid, pid);
      EXPECT_EQ(info->path, "");
      EXPECT_FALSE(info->admin);
    }
  }
  {
    SCOPED_TRACE("another process, and none any more");
    int32_t pid = 0;
    {
      const Sleeper other;
      pid = other.pid();
      EXPECT_TRUE(db.get(pid)->path.ends_with("cmd.exe")) << db.get(pid)->path;
    }
    EXPECT_EQ(db.get(pid)->path, "") << "what is remembered of the dead is told of nobody";
  }
}

TEST(ProcessInfoDb, NamedProgramsOfItsOwnFolderMayImpersonate) {
  FakeHost host;
  const std::wstring program = ProgramPath();
  const std::wstring name = program.substr(program.rfind(L'\\') + 1);
  host.SetOption(messaging::kProcessInfoDb, L"mayImpersonate", (L"CMD.EXE;;" + name).c_str());
  ProcessInfoDb db;
  ASSERT_EQ(db.Init(&host), 0);
  EXPECT_EQ(db.get(static_cast<int32_t>(GetCurrentProcessId()))->kind, 1);
  const Sleeper elsewhere;
  EXPECT_EQ(db.get(elsewhere.pid())->kind, 0) << "the right name in a wrong folder";
}

TEST(ProcessInfoDb, AGroupThatOnlyDeniesMakesNoAdministrator) {
  orn::UniqueHandle own;
  ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE, own.put()));
  ASSERT_TRUE(IsAdministratorToken(own.get())) << "run the tests as an administrator";
  BYTE sid[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof(sid);
  ASSERT_TRUE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size));
  SID_AND_ATTRIBUTES administrators{.Sid = sid, .Attributes = 0};
  orn::UniqueHandle restricted;
  ASSERT_TRUE(CreateRestrictedToken(own.get(), 0, 1, &administrators, 0, nullptr, 0, nullptr,
                                    restricted.put()))
      << GetLastError();
  EXPECT_FALSE(IsAdministratorToken(restricted.get()));

  // Who has no rights must still see who calls.
  ProcessInfoDb db;
  const Sleeper administrator;
  ASSERT_TRUE(ImpersonateLoggedOnUser(restricted.get())) << GetLastError();
  const auto seen = db.get(administrator.pid());
  RevertToSelf();
  EXPECT_TRUE(seen->path.ends_with("cmd.exe")) << seen->path;
  EXPECT_TRUE(seen->admin);
}

}  // namespace
}  // namespace host
