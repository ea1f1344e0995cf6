#include "host/service/low_rights.h"

#include <gtest/gtest.h>

#include <regex>
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
constexpr const wchar_t* kWorker = L"TsrLowPrivilegeWorker.exe";

std::string RightsProgram() {
  return Utf8(FolderOf(ProgramPath())) + "\\system_test_program.exe rights";
}

void ExpectLowRights(HostRunner& worker) {
  EXPECT_EQ(worker.ReadNext("administrators "), "refused");
  EXPECT_EQ(worker.ReadNext("privileges "), "SeChangeNotifyPrivilege");
  EXPECT_EQ(worker.ReadNext("job "), "yes");
}

TEST(LowRights, AHostAndItsChildrenHaveNoAdministratorsGroupAndNoPrivilegeButOne) {
  EXPECT_FALSE(HasLowRights());
  SetEnvironmentVariableW(L"ORN_TSR_OLD_PATH", nullptr);
  SetEnvironmentVariableW(L"PATH", L"C:\\found");
  HostRunner worker, service;
  worker.Configure(TestPlugin("A", Option("run", RightsProgram()) + Option("pid", "")) +
                       TestPlugin("B", Option("tell", "ORN_TSR_OLD_PATH")),
                   kLow);
  // By the service's supervision, of which it opens and makes objects with full rights.
  service.Configure("<process program='TsrLowPrivilegeWorker.exe' config='" + Utf8(worker.file()) +
                    "'/>");
  service.Start();
  ExpectLowRights(service);
  EXPECT_EQ(service.ReadNext("B.ORN_TSR_OLD_PATH="), "C:\\found");
  service.AskToStop();
  EXPECT_EQ(service.Wait(), 0u);
  EXPECT_NE(service.ReadToEnd().find("A.Stop\nB.UnInit\nA.UnInit\n"), std::string::npos);
}

TEST(LowRights, TheTwoProcessesOfAWorkerEndWithEachOtherAndAStopReachesTheRightOne) {
  for (const char* end : {"starter", "host", "stop"}) {
    SCOPED_TRACE(end);
    HostRunner worker;
    worker.set_program(kWorker);
    worker.Configure(TestPlugin("A", Option("pid", "")), kLow);
    worker.Start();
    const orn::UniqueHandle host(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE,
                                             std::stoul("0" + worker.ReadNext("A.pid "))));
    worker.ReadUntil("is running");
    if (*end == 's' && end[2] == 'a') worker.Kill();
    if (*end == 'h') TerminateProcess(host.get(), 77);
    if (*end == 's' && end[2] == 'o') worker.AskToStop();
    EXPECT_EQ(WaitForSingleObject(host.get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(worker.Wait(), end[2] == 'o' ? 0u : 77u);
  }
}

TEST(LowRights, AConsoleOfALowProcessIsOpenToTheServiceAndItsShellHasLowRights) {
  HostRunner worker;
  worker.set_program(kWorker);
  worker.Configure(
      "<plugin name='RemoteTerminalManager' library='RemoteAccess.dll' "
      "object='RemoteTerminalManager.AL'/>" +
          TestPlugin("A", Option("shell", "")),
      kLow);
  worker.Start();
  const std::string conin = worker.ReadNext("A.conin ");
  const std::string conout = worker.ReadNext("A.conout ");
  const orn::UniqueFile input(
      CreateFileA(conin.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  const orn::UniqueFile output(
      CreateFileA(conout.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(input && output) << conin << " " << conout;
  const std::string typed = RightsProgram() + "\r";
  DWORD length = 0;
  WriteFile(input.get(), typed.data(), static_cast<DWORD>(typed.size()), &length, nullptr);
  std::string raw, text;
  char buffer[1024];
  // The console's own sequences may stand anywhere in a word.
  const std::regex sequences("\x1b\\[[0-9;?]*[A-Za-z]");
  while (text.find("job yes") == std::string::npos &&
         ReadFile(output.get(), buffer, sizeof(buffer), &length, nullptr)) {
    raw.append(buffer, length);
    text = std::regex_replace(raw, sequences, "");
  }
  EXPECT_NE(text.find("administrators refused"), std::string::npos) << text;
  EXPECT_NE(text.find("privileges SeChangeNotifyPrivilege"), std::string::npos) << text;
}

TEST(LowRights, AProcessThatOnlySaysThatItHasThemIsRefused) {
  HostRunner worker;
  worker.set_program(kWorker);
  worker.Configure(TestPlugin("A"), kLow);
  worker.Start(L"/process /restricted /config \"" + worker.file() + L"\"");
  EXPECT_NE(worker.ReadToEnd().find("more than low rights"), std::string::npos);
  EXPECT_EQ(worker.Wait(), 1u);
}

}  // namespace
}  // namespace host
