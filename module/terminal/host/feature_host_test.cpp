#include "module/terminal/host/feature_host.h"

#include <gmock/gmock.h>

#include <fstream>
#include <memory>

#include "module/frame/utf.h"
#include "module/jobs/job_object.h"
#include "module/jobs/testing/child_roles.h"
#include "module/jobs/testing/process_counts.h"
#include "module/terminal/host/testing/control_script.h"

namespace {

using orn::UniqueHandle;
using testing::ElementsAre;
using testing::IsEmpty;

UniqueHandle MakeEvent(const std::wstring& name) {
  return UniqueHandle(CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
}

// The host: this program. It leaves its process id and command line beside itself, says that it is
// up, and waits for its end.
int RunHost(const RoleArguments& arguments) {
  const std::wstring config = orn::ToWide(arguments.at(1)).c_str();
  std::ofstream(orn::ToUtf8(TestProgram() + L".started").c_str())
      << GetCurrentProcessId() << ' ' << GetCommandLineA();
  SetEvent(MakeEvent(config + L".up").get());
  WaitForSingleObject(MakeEvent(config + L".end").get(), INFINITE);
  return 0;
}
const ChildRole kHostRole("/process", RunHost);

class Host : public EndpointService::FeatureHost {
 public:
  explicit Host(const TestFolder& folder) { SetBaseFolder(folder.path()); }
  orn::StringT<wchar_t> GetHostName() override { return name_.c_str(); }

 private:
  std::wstring name_ = UniqueName();
};

class FeatureHostTest : public testing::Test {
 protected:
  FeatureHostTest() {
    const HMODULE library = LoadLibraryW(
        folder_.Copy(L"ServiceInstance.Comm.Testing.dll", L"ServiceInstance.Comm.dll").c_str());
    library_ =
        std::shared_ptr<void>(library, [](void* l) { FreeLibrary(static_cast<HMODULE>(l)); });
    const auto get = reinterpret_cast<void*>(GetProcAddress(library, "GetControlScript"));
    script_ = reinterpret_cast<GetControlScriptFunction>(get)();
    program_ = folder_.Copy(TestProgram().substr(TestProgram().find_last_of(L'\\') + 1),
                            L"TsrSecurityService.exe");
    host_ = std::make_unique<Host>(folder_);
    config_ = host_->GetHostName().c_str() + std::wstring(L".exe.xml");
    up_ = MakeEvent(config_ + L".up");
    end_ = MakeEvent(config_ + L".end");
  }
  ~FeatureHostTest() override { SetEvent(end_.get()); }

  // Waits for the host to be up. Gives its process.
  UniqueHandle HostProcess(std::string& command_line) {
    WaitForSingleObject(up_.get(), INFINITE);
    std::ifstream file(orn::ToUtf8(program_ + L".started").c_str());
    DWORD id = 0;
    file >> id >> std::ws;
    std::getline(file, command_line);
    return UniqueHandle(OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, id));
  }

  TestFolder folder_;
  std::shared_ptr<void> library_;
  ControlScript* script_;  // Of the library.
  std::wstring program_, config_;
  UniqueHandle up_, end_;
  std::unique_ptr<Host> host_;
};

TEST_F(FeatureHostTest, HostIsStartedOnceAndDiesWithItsJob) {
  script_->running = {0, 1};
  UniqueHandle job = orn::CreateKillOnCloseJob(L"FeatureHost");
  ASSERT_EQ(host_->StartHost({.start_value = 0, .job = &job}), 0u);
  std::string command_line;
  const UniqueHandle process = HostProcess(command_line);
  ASSERT_TRUE(process);
  EXPECT_EQ(orn::ToWide(command_line).c_str(),
            L"\"" + program_ + L"\" /process /config \"" + config_ + L"\"");
  EXPECT_EQ(script_->name + L".xml", L"ServiceControl::" + config_);

  const size_t processes = Descendants().size();
  EXPECT_EQ(host_->StartHost({.start_value = 0, .job = &job}), 0u);
  EXPECT_LE(Descendants().size(), processes);
  job.reset();
  WaitForSingleObject(process.get(), INFINITE);
}

TEST_F(FeatureHostTest, HostWithoutAJobOutlivesThatWhichStartedIt) {
  script_->running = {0};
  const UniqueHandle no_job;
  ASSERT_EQ(host_->StartHost({.start_value = 0, .job = &no_job}), 0u);
  std::string command_line;
  const UniqueHandle process = HostProcess(command_line);
  host_.reset();
  EXPECT_EQ(script_->name, L"") << "the control object is given back";
  BOOL own = FALSE, in_job = TRUE;
  EXPECT_TRUE(IsProcessInJob(GetCurrentProcess(), nullptr, &own));
  EXPECT_TRUE(IsProcessInJob(process.get(), nullptr, &in_job));
  EXPECT_EQ(in_job, own);
  EXPECT_EQ(WaitForSingleObject(process.get(), 0), DWORD{WAIT_TIMEOUT});
  SetEvent(end_.get());
  WaitForSingleObject(process.get(), INFINITE);
}

TEST_F(FeatureHostTest, FailuresToStartAreToldApart) {
  const TestFolder empty;
  EXPECT_EQ(Host(empty).StartHost({}), DWORD{ERROR_MOD_NOT_FOUND});
  script_->serves_control = false;
  EXPECT_EQ(host_->StartHost({}), 0x80004002u);
  script_->serves_control = true;
  script_->running = {0};
  DeleteFileW(program_.c_str());
  EXPECT_EQ(host_->StartHost({}), 2u) << "the control object was loaded anew";
}

TEST_F(FeatureHostTest, StopReachesWhatRuns) {
  const TestFolder empty;
  EXPECT_EQ(Host(empty).StopHost(1), 0u) << "without the library there is nothing to stop";
  {
    Host idle(folder_), running(folder_);
    script_->running = {0, 1};
    EXPECT_EQ(idle.StopHost(1), 0u);
    EXPECT_THAT(script_->stop_timeouts, IsEmpty());
    EXPECT_EQ(running.StopHost(2), kStopResult);
  }
  script_->running = {1, 0};
  EXPECT_EQ(host_->StartHost({}), 0u);
  EXPECT_EQ(host_->StopHost(0xFFFFFFFF), kStopResult)
      << "with a control object it is not asked first";
  EXPECT_THAT(script_->stop_timeouts, ElementsAre(2u, 0xFFFFFFFFu));
}

TEST_F(FeatureHostTest, WaitEndsWithTheStateOrTheTime) {
  EXPECT_EQ(host_->WaitForConnectionEstablishment(0), 5002u);
  script_->running = {1};
  ASSERT_EQ(host_->StartHost({}), 0u);
  struct Case {
    std::vector<uint32_t> running, states;
    uint32_t timeout, result;
    const char* what;
  };
  const Case cases[] = {
      {{1}, {}, 0, 0, "it runs already"},
      {{0}, {0}, 0, 0, "it has come up"},
      {{0}, {1}, 10000, 2250, "it has stopped"},
      {{0, 1}, {7}, 10000, 0, "another state, but it runs"},
      {{0}, {7}, 2499, 1460, "a step counts in full even when it ends early"},
      {{0}, {}, 0, 1460, "one step is always waited"},
  };
  for (const Case& one : cases) {
    script_->running = one.running;
    script_->states_to_tell = one.states;
    EXPECT_EQ(host_->WaitForConnectionEstablishment(one.timeout), one.result) << one.what;
    EXPECT_EQ(script_->observers, 0) << one.what;
  }
  script_->register_result = 5;
  EXPECT_EQ(host_->WaitForConnectionEstablishment(0), 2250u);
}

}  // namespace
