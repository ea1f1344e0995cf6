#include "host/service/low_rights.h"

#include <gtest/gtest.h>

#include <string>

#include "host/common/file_path.h"
#include "host/testing/host_runner.h"

namespace host {
namespace {

using testing::HostRunner;
using testing::Option;
using testing::TestPlugin;
using testing::Utf8;

constexpr const char* kLow = "rights='low'";

TEST(LowRights, AHostAndItsChildrenHaveNoAdministratorsGroupAndNoPrivilegeButOne) {
  EXPECT_FALSE(HasLowRights());
  SetEnvironmentVariableW(L"ORN_TSR_OLD_PATH", nullptr);
  SetEnvironmentVariableW(L"PATH", L"C:\\found");
  HostRunner worker, service;
  const std::string rights = Utf8(FolderOf(ProgramPath())) + "\\system_test_program.exe rights";
  worker.Configure(
      TestPlugin("A", Option("run", rights)) + TestPlugin("B", Option("tell", "ORN_TSR_OLD_PATH")),
      kLow);
  // By the service's supervision, of which it opens and makes objects with full rights.
  service.Configure("<process program='TsrLowPrivilegeWorker.exe' config='" + Utf8(worker.file()) +
                    "'/>");
  service.Start();
  EXPECT_EQ(service.ReadNext("administrators "), "refused");
  EXPECT_EQ(service.ReadNext("privileges "), "SeChangeNotifyPrivilege");
  EXPECT_EQ(service.ReadNext("job "), "yes");
  EXPECT_EQ(service.ReadNext("B.ORN_TSR_OLD_PATH="), "C:\\found");
  service.AskToStop();
  EXPECT_EQ(service.Wait(), 0u);
  EXPECT_NE(service.ReadToEnd().find("A.Stop\nB.UnInit\nA.UnInit\n"), std::string::npos);
}

TEST(LowRights, AProcessThatOnlySaysThatItHasThemIsRefused) {
  HostRunner worker;
  worker.Configure(TestPlugin("A"), kLow);
  worker.Start(L"/process /restricted /config \"" + worker.file() + L"\"");
  EXPECT_NE(worker.ReadToEnd().find("more than low rights"), std::string::npos);
  EXPECT_EQ(worker.Wait(), 1u);
}

}  // namespace
}  // namespace host
