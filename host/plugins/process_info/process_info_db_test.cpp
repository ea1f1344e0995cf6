#include "host/plugins/process_info/process_info_db.h"

#include <gtest/gtest.h>

#include "host/common/file_path.h"
#include "host/common/security.h"
#include "host/plugins/common/fake_host.h"
#include "host/service/low_rights.h"
#include "module/frame/utf.h"
#include "module/jobs/testing/child.h"

namespace host {
namespace {

constexpr const wchar_t* kSleeper = L"cmd.exe /c pause";

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
      const Child other(kSleeper);
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
  const Child elsewhere(kSleeper);
  EXPECT_EQ(db.get(elsewhere.pid())->kind, 0) << "the right name in a wrong folder";
}

TEST(ProcessInfoDb, AGroupThatOnlyDeniesMakesNoAdministrator) {
  ASSERT_TRUE(IsAdministrator()) << "run the tests as an administrator";
  orn::UniqueHandle low;
  ASSERT_EQ(MakeLowToken(low), 0u);
  EXPECT_FALSE(IsAdministratorToken(low.get()));

  // Who has no rights must still see who calls.
  ProcessInfoDb db;
  const Child administrator(kSleeper);
  ASSERT_TRUE(ImpersonateLoggedOnUser(low.get())) << GetLastError();
  const auto seen = db.get(administrator.pid());
  RevertToSelf();
  EXPECT_TRUE(seen->path.ends_with("cmd.exe")) << seen->path;
  EXPECT_TRUE(seen->admin);
}

}  // namespace
}  // namespace host
