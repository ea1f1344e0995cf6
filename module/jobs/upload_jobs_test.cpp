#include "module/jobs/upload_jobs.h"

#include <chrono>
#include <future>

#include "module/jobs/temp_folder.h"
#include "module/jobs/testing/file_jobs_in_agent.h"
#include "module/jobs/upload_archive.h"

namespace orn::RemoteAccess {
namespace {

struct UploadJobsTest : FileJobsInAgent {
  UploadArchiveInput input{.timeout = 9,
                           .name = L"caf\u00E9",
                           .jobId = L"j",
                           .password = {},
                           .streamId = "t",
                           .items = {{.pattern = L"C:\\a"}},
                           .profile = L"p",
                           .postItems = {},
                           .runContext = L"7"};

  uint32_t Start() {
    response = {};
    return feature.StartUploadArchive(input, response);
  }
  // Tells of a job whose archive is ready, or of what else the result says.
  UploadArchiveTask TellPrepared(uint32_t result = 0) {
    auto job = std::make_shared<FileOperationJob>();
    job->streamId = "t";
    job->type = kUploadJob;
    jobs.AddJob(L"j", job);
    PathStringT<260> archive = GenerateTempFolder(L"", kArchiveTempRoot);
    AppendPath(archive, L"caf\u00E9.zip");
    CloseHandle(CreateFileW(archive.c_str(), GENERIC_WRITE, /*share=*/0, /*security=*/nullptr,
                            CREATE_NEW, FILE_ATTRIBUTE_NORMAL, /*template=*/nullptr));
    on_event = [this, archive] { job_at_event = HasJob(L"j") && Exists(archive.c_str()); };
    const UploadArchiveTask task{
        .jobId = L"j", .input = input, .archivePath = archive, .result = result};
    UploadArchiveMetadata packed;
    packed.jobId = L"j";
    packed.name = input.name;
    feature.OnUploadArchivePrepared(task, packed);
    return task;
  }
  void Report(int32_t error) {
    UploadArchiveMetadata report;
    report.centralizedStorage.error = error;
    report.items.resize(3);  // of no interest
    EXPECT_EQ(feature.OnUploadFinished(L"op", report), 0u);
  }
  void ExpectNothingLeft(const UploadArchiveTask& task) {
    UploadArchiveCache cache;
    EXPECT_FALSE(HasJob(L"j") || jobs.TakeUploadArchiveCache(L"j", cache));
    const std::wstring path(task.archivePath.view());
    EXPECT_FALSE(Exists(path.substr(0, path.rfind(L'\\'))));
  }

  bool job_at_event = false;  // with its archive
};

TEST_F(UploadJobsTest, ARefusedStartTellsTheFirstFaultAndLeavesNoJob) {
  const auto refuse = [this](uint32_t code, const wchar_t* word, const char* reason) {
    EXPECT_EQ(Start(), code);
    EXPECT_EQ(response.message, word);
    EXPECT_TRUE(response.jobId.empty() && !HasJob(L"j"));
    EXPECT_EQ(calls.Take(), Calls{std::string("telemetry FailedToStart::") + reason});
    EXPECT_EQ(last_event["exit_code"].asUInt(), code);
  };
  storage.prevalidate_result = 223;
  refuse(223, L"N/A", "CentralizedStoragePrevalidateError");
  EXPECT_EQ(storage.data.items[0].path, input.name);
  input.items.clear();
  refuse(4306, L"empty input", "InvalidInput");
  input.name = L"a|b";
  refuse(123, L"invalid archive name", "InvalidInput");
  input.jobId = std::wstring(51, L'x').c_str();
  refuse(8348, L"jobId too long", "InvalidInput");
  TakeStorageAway();
  refuse(1359, L"internal error", "PluginMissing");
  EXPECT_EQ(feature.CancelUpload(L"j", message), 1359u);
  feature.SetEnabled(false);
  calls.Take();
  refuse(1260, L"not enabled", "Disabled");
}

TEST_F(UploadJobsTest, AnArchiveIsHandedOverAndGoneWhenTheStorageHasReported) {
  const struct {
    int32_t error;
    const char* telemetry;
    const char* event;
  } kEnds[] = {{0, "telemetry Success", "uploaded j 1"},
               {1223, "telemetry Aborted", "uploaded j 2"},
               {7, "telemetry Failed", "uploaded j 4"}};
  for (const auto& end : kEnds) {
    const UploadArchiveTask task = TellPrepared();
    EXPECT_EQ(storage.upload.items[0].name, ToUtf8(input.name.view()));
    EXPECT_EQ(storage.upload.items[0].path, task.archivePath);
    on_event = [&] { EXPECT_TRUE(!HasJob(L"j") && Exists(task.archivePath.c_str())); };
    EXPECT_EQ(feature.CancelUpload(L"j", message), 0u);
    Report(end.error);
    EXPECT_EQ(calls.Take(), (Calls{"upload", "cancel upload op", end.telemetry, end.event}));
    EXPECT_EQ(last_event["exit_code"].asInt(), end.error);
    EXPECT_TRUE(uploaded.name == L"caf\u00E9.zip" && uploaded.items.empty());
    ExpectNothingLeft(task);
  }
  const Calls sent = connector.streams["t"].sent.Take();
  ASSERT_EQ(sent.size(), std::size(kEnds));
  EXPECT_TRUE(sent[0].starts_with("remoteAccessUploadFinished {") && sent[0].ends_with("}"));
}

TEST_F(UploadJobsTest, AReportThatOvertakesTheUploadsReturnIsServed) {
  std::future<void> reported;
  storage.while_starting = [&] {
    reported = std::async(std::launch::async, [this] { Report(0); });
    EXPECT_EQ(reported.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  };
  const UploadArchiveTask task = TellPrepared();
  reported.wait();
  EXPECT_EQ(calls.Take(), (Calls{"upload", "telemetry Success", "uploaded j 1"}));
  ExpectNothingLeft(task);
}

TEST_F(UploadJobsTest, AnEndBeforeTheStorageIsToldWithoutTelemetryAndLeavesNothing) {
  const auto expect_end = [this](uint32_t result, const Calls& expected, const wchar_t* name) {
    const UploadArchiveTask task = TellPrepared(result);
    EXPECT_EQ(calls.Take(), expected);
    EXPECT_TRUE(job_at_event);
    EXPECT_EQ(uploaded.name, name);
    EXPECT_EQ(uploaded.centralizedStorage.error, -1);
    ExpectNothingLeft(task);
  };
  expect_end(1223, {"uploaded j 2"}, L"caf\u00E9");
  expect_end(1627, {"uploaded j 3"}, L"caf\u00E9");
  storage.start_result = 87;
  expect_end(0, {"upload", "uploaded j 4"}, L"caf\u00E9.zip");
  TakeStorageAway();
  expect_end(0, {"uploaded j 4"}, L"caf\u00E9");

  // Nothing outside of the root goes.
  const TestFolder elsewhere;
  elsewhere.File(L"b.txt");
  for (const std::wstring& archive : {std::wstring(), elsewhere / L"a.zip"})
    jobs.DeleteTmpUploadArchive(archive.c_str());
  EXPECT_TRUE(Exists(elsewhere / L"b.txt"));
}

}  // namespace
}  // namespace orn::RemoteAccess
