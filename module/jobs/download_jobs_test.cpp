#include "module/jobs/download_jobs.h"

#include "module/jobs/testing/file_jobs_in_agent.h"

namespace orn::RemoteAccess {
namespace {

struct DownloadJobsTest : FileJobsInAgent {
  DownloadInput input{.timeout = 9,
                      .items = {{.sourceUri = "u", .to = L"C:\\a\\.\\b/..\\c"}},
                      .profile = L"p",
                      .runContext = L"7",
                      .jobId = L"j",
                      .streamId = "t"};
  DownloadMetadata report;  // as the storage gives it

  uint32_t Start() {
    response = {.message = L"old", .runContext = {}, .jobId = {}};
    const uint32_t code = feature.StartDownload(input, response);
    EXPECT_EQ(response.runContext, L"7");
    return code;
  }
  void Report(const wchar_t* id = L"op") { EXPECT_EQ(feature.OnDownloadFinished(id, report), 0u); }
  void AddItem(const std::wstring& to, int32_t code) {
    report.items.push_back(
        {.sourceUri = "u", .to = to.c_str(), .errorCode = code, .error = L"word"});
  }
};

TEST_F(DownloadJobsTest, ARefusedStartTellsWhyAndLeavesNoJob) {
  storage.start_result = 77;
  EXPECT_EQ(Start(), 77u);
  EXPECT_EQ(response.message, L"N/A");
  EXPECT_TRUE(response.jobId.empty() && !HasJob(L"j"));
  EXPECT_EQ(calls.Take(), (Calls{"download", "telemetry FailedToStart::CentralizedStorageError"}));
  EXPECT_EQ(last_event["exit_code"].asInt(), 77);

  storage.start_result = 0;
  input.jobId = std::wstring(51, L'x').c_str();
  EXPECT_EQ(Start(), 8348u);
  EXPECT_EQ(response.message, L"jobId too long");
  EXPECT_EQ(last_event["exit_code"].asInt(), 8348);
  input.jobId = std::wstring(50, L'\u20AC').c_str();
  EXPECT_EQ(Start(), 0u);
  EXPECT_EQ(Start(), 1375u);
  EXPECT_EQ(response.message, L"jobId already in-use");
  EXPECT_EQ(calls.Take(), (Calls{"telemetry FailedToStart::InvalidInput", "download",
                                 "telemetry FailedToStart::InvalidInput"}));

  feature.SetEnabled(false);
  EXPECT_EQ(Start(), 1260u);
  EXPECT_EQ(response.message, L"not enabled");
  feature.SetEnabled(true);
  plugins.erase(L"Product.CentralizedStorage");
  feature.Init(this);
  EXPECT_EQ(Start(), 1359u);
  EXPECT_EQ(response.message, L"internal error");
  EXPECT_EQ(feature.CancelDownload(input.jobId, message), 1359u);
  EXPECT_EQ(message, L"internal error");
  const Calls seen = calls.Take();
  EXPECT_EQ(std::ranges::count(seen, "download"), 0);
  EXPECT_EQ(std::ranges::count(seen, "telemetry FailedToStart::Disabled"), 1);
  EXPECT_EQ(seen.back(), "telemetry FailedToStart::PluginMissing");
}

TEST_F(DownloadJobsTest, TheReportEndsTheJobForTelemetryTheTerminalAndTheObservers) {
  ASSERT_EQ(Open("t"), 0);
  EXPECT_EQ(Start(), 0u);
  EXPECT_EQ(response.message, L"N/A");
  EXPECT_EQ(response.jobId, L"j");
  EXPECT_EQ(storage.download.items[0].to, L"C:\\a\\c");
  calls.Take();
  AddItem(L"C:\\x", 2);
  AddItem(L"C:\\y", 0);
  report.runContext = L"7";
  report.centralizedStorage.error = 5;
  Report(L"other");
  Report(L"");
  EXPECT_EQ(calls.Take(), Calls{});
  on_event = [&] { EXPECT_TRUE(HasJob(L"j")) << "forgotten before it was told"; };
  Report();
  EXPECT_EQ(calls.Take(), (Calls{"telemetry Success", "downloaded j 1"}));
  const Calls sent = connector.streams["t"].sent.Take();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_TRUE(sent[0].starts_with("remoteAccessDownloadFinished {") && sent[0].ends_with("}"));
  EXPECT_NE(sent[0].find(R"("jobId":"j")"), std::string::npos);
  EXPECT_FALSE(HasJob(L"j"));
  EXPECT_EQ(feature.CancelDownload(L"j", message), 6u);
  EXPECT_EQ(message, L"invalid jobId");
  Report();
  EXPECT_EQ(calls.Take(), Calls{});

  // With nothing that arrived it has failed, also of no items; nobody is at the stream.
  on_event = nullptr;
  input.jobId = {};
  input.streamId = "gone";
  for (const int32_t code : {0, 3}) {
    EXPECT_EQ(Start(), 0u);
    EXPECT_EQ(response.jobId.length(), 36u);
    report.items.clear();
    if (code != 0) AddItem(L"C:\\x", code);
    Report();
    EXPECT_EQ(downloaded.status, DownloadMetadata::Status::kFailed);
    EXPECT_EQ(last_event["exit_reason"].asString() + last_event["exit_code"].asString(),
              "Failed" + std::to_string(code));
  }
}

TEST_F(DownloadJobsTest, ACancelledDownloadKeepsNoneOfItsFiles) {
  EXPECT_EQ(Start(), 0u);
  calls.Take();
  storage.cancel_result = 1168;
  EXPECT_EQ(feature.CancelDownload(L"j", message), 1168u);
  EXPECT_EQ(message, L"N/A");
  storage.cancel_result = 0;
  EXPECT_EQ(feature.CancelDownload(L"j", message), 0u);
  EXPECT_EQ(message, L"success");
  EXPECT_EQ(feature.CancelUpload(L"j", message), 6u);  // None of its kind.
  EXPECT_TRUE(HasJob(L"j"));
  for (const wchar_t* name : {L"whole", L"failed"})
    folder.File(name);
  const UniqueFile held = folder.File(L"held");
  AddItem(folder / L"whole", 0);
  AddItem(folder / L"held", 0);
  AddItem(folder / L"never came", 0);
  AddItem(folder / L"failed", 5);
  report.centralizedStorage.error = 1223;
  on_event = [&] { EXPECT_FALSE(Exists(folder / L"whole")); };
  Report();
  EXPECT_EQ(calls.Take(), (Calls{"cancel download op", "cancel download op", "telemetry Aborted",
                                 "downloaded j 2"}));
  EXPECT_EQ(last_event["exit_code"].asInt(), 1223);
  EXPECT_TRUE(Exists(folder / L"held") && Exists(folder / L"failed"));
  EXPECT_FALSE(HasJob(L"j"));
}

}  // namespace
}  // namespace orn::RemoteAccess
