#include "module/terminal/host/feature_host.h"

#include <gtest/gtest.h>

#include "host/common/host_presence.h"
#include "module/frame/testing/test_folder.h"
#include "module/frame/utf.h"
#include "module/jobs/job_object.h"
#include "module/jobs/testing/child_roles.h"

namespace {

// The host: this program. It is up only if its command line is the right one.
int RunHost(const RoleArguments& arguments) {
  const std::wstring config = orn::ToWide(arguments.at(1)).c_str();
  if (GetCommandLineW() != L"\"" + TestProgram() + L"\" /process /config \"" + config + L"\"")
    return 1;
  host::HostPresence presence;
  presence.Open(config.substr(0, config.rfind(L".exe.xml")));
  if (presence.Declare() == 0) WaitForSingleObject(presence.stop(), INFINITE);
  return 0;
}
const ChildRole kHostRole("/process", RunHost);

struct Host : EndpointService::FeatureHost {
  explicit Host(const TestFolder& folder) { SetBaseFolder(folder / L""); }
  orn::StringT<wchar_t> GetHostName() override {
    return (L"TestHost." + std::to_wstring(GetCurrentProcessId())).c_str();
  }
};

TEST(FeatureHost, HostDiesWithItsJobOrElseOutlivesThatWhichStartedIt) {
  const TestFolder empty, no_program, folder;
  for (const TestFolder* const with_library : {&no_program, &folder})
    CopyFileW(L"ServiceInstance.Comm.dll", (*with_library / L"ServiceInstance.Comm.dll").c_str(),
              /*failIfExists=*/TRUE);
  CopyFileW(TestProgram().c_str(), (folder / L"TsrSecurityService.exe").c_str(), TRUE);
  EXPECT_EQ(Host(empty).StartHost({}), DWORD{ERROR_MOD_NOT_FOUND});
  EXPECT_EQ(Host(empty).StopHost(1), 0u) << "without the library there is nothing to stop";
  EXPECT_EQ(Host(empty).WaitForConnectionEstablishment(0), 5002u);

  Host host(no_program);
  EXPECT_EQ(host.StartHost({}), 2u);
  EXPECT_EQ(host.WaitForConnectionEstablishment(0), 1460u) << "one step is always waited";
  host::HostPresence presence;
  ASSERT_EQ(presence.Open(host.GetHostName().c_str()), 0u);
  for (const bool in_job : {true, false}) {
    orn::UniqueHandle job;
    if (in_job) job = orn::CreateKillOnCloseJob(L"FeatureHost");
    ASSERT_EQ(Host(folder).StartHost({.start_value = 0, .job = &job}), 0u);
    WaitForSingleObject(presence.started(), INFINITE);
    EXPECT_EQ(host.StartHost({}), 0u) << "it runs already";
    EXPECT_EQ(host.WaitForConnectionEstablishment(0), 0u);
    job.reset();
    if (!in_job) {
      EXPECT_EQ(Host(no_program).StopHost(INFINITE), 0u);
    }
    WaitForSingleObject(presence.life(), INFINITE);  // Until it has ended.
    ReleaseMutex(presence.life());
  }
}

}  // namespace
