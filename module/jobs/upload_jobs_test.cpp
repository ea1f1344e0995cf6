#include "module/jobs/upload_jobs.h"

#include <atomic>
#include <chrono>
#include <future>

#include "module/frame/testing/semaphore.h"
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

  uint32_t Start(const UploadArchiveInput& asked) {
    response = {};
    return feature.StartUploadArchive(asked, response);
  }
  // A job whose archive is ready, or what else the result tells.
  UploadArchiveTask Prepared(uint32_t result = 0) {
    auto job = std::make_shared<FileOperationJob>();
    job->streamId = "t";
    job->type = kUploadJob;
    jobs.AddJob(L"j", job);
    PathStringT<260> archive = GenerateTempFolder(L"", kArchiveTempRoot);
    AppendPath(archive, L"caf\u00E9.zip");
    EXPECT_TRUE(UniqueFile(CreateFileW(archive.c_str(), GENERIC_WRITE, /*share=*/0,
                                       /*security=*/nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                                       /*template=*/nullptr)));
    return {.jobId = L"j", .input = input, .archivePath = archive, .result = result};
  }
  void Tell(const UploadArchiveTask& task) {
    UploadArchiveMetadata packed;
    packed.jobId = task.jobId;
    packed.name = task.input.name;
    feature.OnUploadArchivePrepared(task, packed);
  }
  void Report(int32_t error) {
    UploadArchiveMetadata report;
    report.centralizedStorage.error = error;
    report.items.resize(3);  // of no interest
    EXPECT_EQ(feature.OnUploadFinished(L"op", report), 0u);
  }
  void ExpectNothingLeft(const UploadArchiveTask& task) {
    UploadArchiveCache cache;
    EXPECT_FALSE(HasJob(L"j"));
    EXPECT_FALSE(jobs.TakeUploadArchiveCache(L"j", cache));
    const std::wstring path(task.archivePath.view());
    EXPECT_FALSE(Exists(path.substr(0, path.rfind(L'\\'))));
  }
};

TEST_F(UploadJobsTest, ARefusedStartTellsTheFirstFaultAndLeavesNoJob) {
  const auto refuse = [this](const UploadArchiveInput& asked, uint32_t code, const wchar_t* word,
                             const char* reason) {
    EXPECT_EQ(Start(asked), code);
    EXPECT_EQ(response.message, word);
    EXPECT_TRUE(response.jobId.empty() && !HasJob(L"j"));
    EXPECT_EQ(calls.Take(), Calls{std::string("telemetry FailedToStart::") + reason});
    EXPECT_EQ(last_event["exit_code"].asUInt(), code);
  };
  storage.prevalidate_result = 223;
  refuse(input, 223, L"N/A", "CentralizedStoragePrevalidateError");
  EXPECT_EQ(storage.data.items[0].path, input.name);
  UploadArchiveInput asked = input;
  asked.items.clear();
  refuse(asked, 4306, L"empty input", "InvalidInput");
  for (const wchar_t* name : {L"", L"a/b", L"a\\b", L"\\a", L"a<b", L"a|b"}) {
    asked.name = name;
    refuse(asked, 123, L"invalid archive name", "InvalidInput");
  }
  asked.jobId = std::wstring(51, L'x').c_str();
  refuse(asked, 8348, L"jobId too long", "InvalidInput");
  TakeStorageAway();
  refuse(asked, 1359, L"internal error", "PluginMissing");
  EXPECT_EQ(feature.CancelUpload(L"j", message), 1359u);
  feature.SetEnabled(false);
  calls.Take();
  refuse(asked, 1260, L"not enabled", "Disabled");
}

TEST_F(UploadJobsTest, AnArchiveIsHandedOverAndGoneWhenTheStorageHasReported) {
  ASSERT_EQ(Open("t"), 0);
  calls.Take();
  const struct {
    int32_t error;
    const char* telemetry;
    const char* event;
  } kEnds[] = {{0, "telemetry Success", "uploaded j 1"},
               {1223, "telemetry Aborted", "uploaded j 2"},
               {7, "telemetry Failed", "uploaded j 4"}};
  for (const auto& end : kEnds) {
    const UploadArchiveTask task = Prepared();
    Tell(task);
    EXPECT_EQ(storage.upload.items[0].name, ToUtf8(input.name.view()));
    EXPECT_EQ(storage.upload.items[0].path, task.archivePath);
    storage.cancel_result = 5;
    EXPECT_EQ(feature.CancelUpload(L"j", message), 5u);
    on_event = [&] { EXPECT_TRUE(!HasJob(L"j") && Exists(task.archivePath.c_str())); };
    Report(end.error);
    EXPECT_EQ(calls.Take(), (Calls{"upload", "cancel upload op", end.telemetry, end.event}));
    EXPECT_EQ(last_event["exit_code"].asInt(), end.error);
    EXPECT_EQ(uploaded.name, L"caf\u00E9.zip");
    EXPECT_TRUE(uploaded.items.empty());
    ExpectNothingLeft(task);
  }
  const Calls sent = connector.streams["t"].sent.Take();
  ASSERT_EQ(sent.size(), 3u);
  EXPECT_TRUE(sent[0].starts_with("remoteAccessUploadFinished {") && sent[0].ends_with("}"));
  // A report on a job without its archive's entry ends the job and tells nobody.
  Tell(Prepared());
  UploadArchiveCache cache;
  EXPECT_TRUE(jobs.TakeUploadArchiveCache(L"j", cache));
  Report(0);
  EXPECT_EQ(calls.Take(), Calls{"upload"});
  EXPECT_FALSE(HasJob(L"j"));
}

TEST_F(UploadJobsTest, AReportThatOvertakesTheUploadsReturnIsServed) {
  std::future<void> reported;
  storage.while_starting = [&] {
    reported = std::async(std::launch::async, [this] { Report(0); });
    EXPECT_EQ(reported.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  };
  const UploadArchiveTask task = Prepared();
  Tell(task);
  reported.wait();
  EXPECT_EQ(calls.Take(), (Calls{"upload", "telemetry Success", "uploaded j 1"}));
  ExpectNothingLeft(task);
}

TEST_F(UploadJobsTest, AnEndBeforeTheStorageIsToldWithoutTelemetryAndLeavesNothing) {
  const auto expect_end = [this](uint32_t result, const Calls& expected, const wchar_t* name) {
    const UploadArchiveTask task = Prepared(result);
    on_event = [&] { EXPECT_TRUE(HasJob(L"j") && Exists(task.archivePath.c_str())); };
    Tell(task);
    EXPECT_EQ(calls.Take(), expected);
    EXPECT_EQ(uploaded.name, name);
    EXPECT_EQ(uploaded.centralizedStorage.reason, L"N/A");
    EXPECT_EQ(uploaded.centralizedStorage.error, -1);
    ExpectNothingLeft(task);
  };
  expect_end(1223, {"uploaded j 2"}, L"caf\u00E9");
  expect_end(1627, {"uploaded j 3"}, L"caf\u00E9");
  storage.start_result = 87;
  expect_end(0, {"upload", "uploaded j 4"}, L"caf\u00E9.zip");
  TakeStorageAway();
  expect_end(0, {"uploaded j 4"}, L"caf\u00E9");
}

// The first, which finds no place for an archive, is being told of, so that the worker takes no
// other.
TEST_F(UploadJobsTest, WaitingUploadsAreLimitedAndCancelledAndEndWithTheFeature) {
  const auto start = [this](int id) {
    UploadArchiveInput asked = input;
    asked.jobId = std::to_wstring(id).c_str();
    return Start(asked);
  };
  folder.File(kArchiveTempRoot);
  Semaphore told, go_on;
  std::atomic<bool> is_first = true;
  on_event = [&] {
    if (!is_first.exchange(false)) return;
    told.Release();
    go_on.Acquire();
  };
  EXPECT_EQ(start(0), 0u);
  EXPECT_EQ(response.message, L"success");
  told.Acquire();
  for (int id = 1; id <= 30; ++id)
    EXPECT_EQ(start(id), 0u);
  EXPECT_EQ(start(31), 170u);
  EXPECT_EQ(response.message, L"busy");
  EXPECT_FALSE(HasJob(L"31"));
  EXPECT_EQ(calls.Take(), Calls{"telemetry FailedToStart::PrepareError"});
  EXPECT_EQ(feature.CancelUpload(L"30", message), 0u);
  EXPECT_EQ(message, L"success");
  EXPECT_EQ(calls.Take(), Calls{"uploaded 30 2"});
  EXPECT_EQ(feature.CancelUpload(L"30", message), 6u);
  EXPECT_EQ(message, L"invalid jobId");

  // What still waits goes to the storage as if it were packed, by the path that it does not have.
  storage.start_result = 87;
  auto stopped = std::async(std::launch::async, [this] { feature.Stop(); });
  calls.WaitFor("unregister from manager");
  go_on.Release();
  stopped.wait();
  Calls seen = calls.Take();
  seen.erase(std::ranges::find(seen, "unregister from storage"), seen.end());
  const auto count = [&](auto is_one) { return std::ranges::count_if(seen, is_one); };
  EXPECT_EQ(count([](const auto& call) { return call.starts_with("uploaded "); }), 30);
  EXPECT_EQ(count([](const auto& call) { return call.ends_with(" 4"); }),
            std::ranges::count(seen, "upload"));
  EXPECT_TRUE(storage.upload.items.empty() || storage.upload.items[0].path.empty());
  for (int id = 0; id <= 30; ++id)
    EXPECT_FALSE(HasJob(std::to_wstring(id).c_str())) << id;
}

}  // namespace
}  // namespace orn::RemoteAccess
