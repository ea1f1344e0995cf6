#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/common/host_presence.h"
#include "host/testing/host_runner.h"

namespace host {
namespace {

using testing::HostRunner;
using testing::Option;
using testing::TestPlugin;
using testing::Utf8;

struct CloseService {
  void operator()(SC_HANDLE handle) const { CloseServiceHandle(handle); }
};
using UniqueService = std::unique_ptr<SC_HANDLE__, CloseService>;

// The exit code of the program with that verb; its output to the end.
DWORD RunVerb(HostRunner& runner, const wchar_t* verb, std::string& output) {
  runner.Start(std::wstring(verb) + L" /config \"" + runner.file() + L"\"");
  output = runner.ReadToEnd();
  return runner.Wait();
}

SERVICE_STATUS_PROCESS Status(SC_HANDLE service) {
  SERVICE_STATUS_PROCESS status{};
  DWORD length = 0;
  EXPECT_TRUE(QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO,
                                   reinterpret_cast<BYTE*>(&status), sizeof(status), &length));
  return status;
}

// The manager has no event for it; a state comes or the test's own time is over.
void WaitForState(SC_HANDLE service, DWORD state) {
  while (Status(service).dwCurrentState != state)
    Sleep(10);
}

TEST(WindowsService, IsInstalledOnceRunsStopsInOrderAndIsRemovedHoweverItEnded) {
  HostRunner service, child;
  service.MakeNameUnique();
  child.Configure("");
  const std::string instance = "instance='test-" + std::to_string(GetCurrentProcessId()) + "'";
  service.Configure(TestPlugin("A") + "<process program='TsrSecurityService.exe' config='" +
                        Utf8(child.file()) + "'/>",
                    instance);
  std::string output;
  EXPECT_EQ(RunVerb(service, L"/uninstall", output), 1u);
  EXPECT_NE(output.find("cannot be removed: 1060"), std::string::npos) << output;
  EXPECT_EQ(RunVerb(service, L"/service", output), 1u);
  EXPECT_NE(output.find("is run by Windows alone: 1063"), std::string::npos) << output;

  ASSERT_EQ(RunVerb(service, L"/install", output), 0u) << output;
  EXPECT_EQ(RunVerb(service, L"/install", output), 1u);
  EXPECT_NE(output.find("cannot be installed: 1073"), std::string::npos) << output;

  const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  UniqueService opened(OpenServiceW(manager.get(), service.name().c_str(),
                                    SERVICE_START | SERVICE_STOP | SERVICE_QUERY_STATUS));
  ASSERT_TRUE(opened);
  HostPresence other;
  ASSERT_EQ(other.Open(child.name()), 0u);
  const auto start = [&] {
    ASSERT_TRUE(StartServiceW(opened.get(), 0, nullptr)) << GetLastError();
    WaitForState(opened.get(), SERVICE_RUNNING);
    WaitForSingleObject(other.started(), INFINITE);
  };
  start();
  SERVICE_STATUS status{};
  EXPECT_TRUE(ControlService(opened.get(), SERVICE_CONTROL_STOP, &status));
  WaitForState(opened.get(), SERVICE_STOPPED);
  EXPECT_EQ(Status(opened.get()).dwWin32ExitCode, 0u);
  bool running = true;
  EXPECT_EQ(other.IsRunning(running), 0u);
  EXPECT_FALSE(running);  // What it had started has ended before.

  // A start that fails is told as a failure.
  service.Configure(TestPlugin("A", Option("failInit", "5002")), instance);
  EXPECT_TRUE(StartServiceW(opened.get(), 0, nullptr)) << GetLastError();
  WaitForState(opened.get(), SERVICE_STOPPED);
  EXPECT_EQ(Status(opened.get()).dwWin32ExitCode, DWORD{ERROR_SERVICE_SPECIFIC_ERROR});
  EXPECT_EQ(Status(opened.get()).dwServiceSpecificExitCode, 1u);

  // A killed one, whose manager takes it for running under Wine, takes its processes along and can
  // be removed.
  service.Configure(
      "<process program='TsrSecurityService.exe' config='" + Utf8(child.file()) + "'/>", instance);
  start();
  const orn::UniqueHandle process(
      OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, Status(opened.get()).dwProcessId));
  TerminateProcess(process.get(), 77);
  WaitForSingleObject(other.life(), INFINITE);
  ReleaseMutex(other.life());
  opened.reset();
  EXPECT_EQ(RunVerb(service, L"/uninstall", output), 0u) << output;
}

}  // namespace
}  // namespace host
