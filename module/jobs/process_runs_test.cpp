#include "module/jobs/process_runs.h"

#include <gtest/gtest.h>

#include "module/frame/testing/semaphore.h"
#include "module/frame/utf.h"
#include "module/jobs/testing/child_roles.h"
#include "module/jobs/testing/own_temp_folder.h"

namespace orn::RemoteAccess {
namespace {

using Reason = ProcessExecutionMetadata::Reason;

void Write(std::string_view bytes) {
  DWORD written = 0;
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  WriteFile(output, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  FlushFileBuffers(output);  // Returns when it has been read.
}

CHILD_ROLE(PrintsAndEndsWith) {
  printf("printed\n");
  return std::stoi(arguments[0]);
}

CHILD_ROLE(WritesZeroBytes) {
  Write(std::string_view("one\0two", 7));
  Write("three\nfour");
  Write(std::string(4089, '.') + '\0' + "five");  // Behind the end of the chunk.
  return 0;
}

// Prints its process id.
CHILD_ROLE(LeavesAChild) {
  ChildProcess<void*> child;
  child.Launch(RoleCommandLine("Waits"), /*showWindow=*/false, /*redirectOutput=*/false,
               /*workingDir=*/{}, /*restorePath=*/false);
  printf("%d\n", static_cast<int>(child.process_id()));
  return 0;
}

struct ProcessRunsTest : testing::Test, IRemoteAccess::IProcessOperationsEvent {
  const OwnTempFolder temp;
  const TestFolder& folder = temp.folder;
  EnabledSetting enabled;
  UniqueHandle stop_event{CreateEventW(nullptr, /*manualReset=*/TRUE, FALSE, nullptr)};
  std::unique_ptr<ThreadPool> runners = std::make_unique<ThreadPool>(3);
  ProcessObservers observers;
  std::vector<UploadArchiveInput> uploads;
  ProcessExecutionMetadata end;  // of the last run that was told of
  Semaphore ended;
  ProcessRuns runs{enabled, stop_event, runners, observers,
                   [this](const UploadArchiveInput& asked, OperationResponse&) {
                     uploads.push_back(asked);
                     return 0;
                   }};
  ProcessExecutionInput input{.commandLine = RoleCommandLine("Waits"),
                              .timeout = 1000,
                              .outputPath = L"out.txt",
                              .workingDir = (folder / L"run").c_str(),
                              .runContext = L"{\"run\":1}"};
  UploadArchiveInput upload;
  ProcessExecutionResponse response;
  Semaphore runner_busy, runner_free;

  ProcessRunsTest() {
    enabled.Prepare(nullptr, L"", /*default_value=*/true);
    observers.Add(this);
  }
  ~ProcessRunsTest() override {
    SetEvent(stop_event.get());
    if (runners != nullptr) runners->Stop();
  }

  uint32_t OnProcessFinished(const ProcessExecutionMetadata& metadata) override {
    end = metadata;
    ended.Release();
    return 0;
  }
  uint32_t Start() {
    response = {};
    return runs.StartProcess(input, upload, response);
  }
  void Run(const std::string& role) {
    input.commandLine = RoleCommandLine(role);
    EXPECT_EQ(Start(), 0u);
    EXPECT_EQ(response.status, 0);
    ended.Acquire();
  }
  UniqueHandle Process() const {
    return UniqueHandle(OpenProcess(SYNCHRONIZE, FALSE, response.pid));
  }
  void KeepRunnersBusy() {
    for (int i = 0; i < 3; ++i) {
      runners->Post([this] {
        runner_busy.Release();
        runner_free.Acquire();
      });
    }
    for (int i = 0; i < 3; ++i)
      runner_busy.Acquire();
  }
  std::string Output() const { return folder.Read(L"run\\out.txt"); }
};

bool HasEnded(const UniqueHandle& process) {
  return WaitForSingleObject(process.get(), 60'000) == WAIT_OBJECT_0;
}

TEST_F(ProcessRunsTest, OutputThatCannotBeWrittenLeavesTheRunAsItIs) {
  folder.Folder(L"run");
  folder.Folder(L"run\\logs");
  input.outputPath = L"logs";
  Run("PrintsAndEndsWith 0");
  EXPECT_EQ(end.reason, Reason::kCompleted);
  EXPECT_EQ(uploads.at(0).items.back().pattern, folder / L"run\\logs");

  input.outputPath = {};
  Run("PrintsAndEndsWith -1");
  EXPECT_EQ(end.exitCode, -1);
  EXPECT_TRUE(uploads.at(1).items.empty());
}

TEST_F(ProcessRunsTest, OutputIsTextAndEachChunkEndsAtItsFirstZero) {
  Run("WritesZeroBytes");
  EXPECT_EQ(Output(), "onethree\r\nfour" + std::string(4089, '.') + "five");
}

TEST_F(ProcessRunsTest, TimeOutBeginsWithTheRunnerAndEndsTheProcess) {
  input.timeout = 1;
  KeepRunnersBusy();
  ASSERT_EQ(Start(), 0u);
  const UniqueHandle process = Process();
  EXPECT_EQ(WaitForSingleObject(process.get(), 1100), WAIT_TIMEOUT);
  runner_free.Release(3);
  ended.Acquire();
  EXPECT_EQ(end.reason, Reason::kTimeout);
  EXPECT_EQ(end.exitCode, 1460);
  EXPECT_EQ(end.uploadError, -1);
  EXPECT_TRUE(uploads.empty());
  EXPECT_TRUE(HasEnded(process));
}

TEST_F(ProcessRunsTest, ChildLeftBehindGoesWithTheRun) {
  Run("LeavesAChild");
  EXPECT_EQ(end.reason, Reason::kCompleted);
  const int child = std::stoi(Output());
  EXPECT_GT(child, 0);
  const UniqueHandle left(OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(child)));
  EXPECT_TRUE(!left || HasEnded(left));
}

TEST_F(ProcessRunsTest, StopEndsARunAndDropsOneThatWaits) {
  ASSERT_EQ(Start(), 0u);
  const UniqueHandle running = Process();
  SetEvent(stop_event.get());
  ended.Acquire();
  EXPECT_EQ(end.reason, Reason::kCanceled);
  EXPECT_EQ(end.exitCode, -1);
  EXPECT_TRUE(HasEnded(running));
  KeepRunnersBusy();
  ASSERT_EQ(Start(), 0u);
  const UniqueHandle waiting = Process();
  end.exitCode = 77;
  runners->DropQueued();
  EXPECT_TRUE(HasEnded(waiting));
  runner_free.Release(3);
  runners->Stop();
  EXPECT_EQ(end.exitCode, 77) << "told of the run that was dropped";
}

TEST_F(ProcessRunsTest, RunWithoutAFolderGetsATemporaryOneUntilTheCleanup) {
  input.workingDir = {};
  Run("PrintsAndEndsWith 0");
  ASSERT_EQ(uploads.size(), 1u);
  const std::wstring output(uploads[0].items[0].pattern.view());
  const std::wstring root = folder / L"Tessaro.{013D0CD6-1A80-4332-AC26-D4538ABF0971}\\";
  EXPECT_EQ(output.substr(0, root.size()), root);
  EXPECT_TRUE(Exists(output));
  runs.CleanupTempRootFolder();
  EXPECT_FALSE(Exists(root));
}

}  // namespace
}  // namespace orn::RemoteAccess
