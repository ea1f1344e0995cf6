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
    response = {};
    return feature.StartDownload(input, response);
  }
  void Report(const wchar_t* id = L"op") { EXPECT_EQ(feature.OnDownloadFinished(id, report), 0u); }
  void AddItem(const std::wstring& to, int32_t code) {
    report.items.push_back({.sourceUri = "u", .to = to.c_str(), .errorCode = code, .error = {}});
  }
};

TEST_F(DownloadJobsTest, ARefusedStartTellsWhyAndLeavesNoJob) {
  storage.start_result = 77;
  EXPECT_EQ(Start(), 77u);
  EXPECT_EQ(response.message, L"N/A");
  EXPECT_TRUE(response.jobId.empty() && !HasJob(L"j"));
  storage.start_result = 0;
  input.jobId = std::wstring(51, L'x').c_str();
  EXPECT_EQ(Start(), 8348u);
  EXPECT_EQ(response.message, L"jobId too long");
  EXPECT_EQ(last_event["exit_code"].asInt(), 8348);
  input.jobId = std::wstring(50, L'\u20AC').c_str();
  EXPECT_EQ(Start(), 0u);
  EXPECT_EQ(Start(), 1375u);
  EXPECT_EQ(calls.Take(), (Calls{"download", "telemetry FailedToStart::CentralizedStorageError",
                                 "telemetry FailedToStart::InvalidInput", "download",
                                 "telemetry FailedToStart::InvalidInput"}));
  TakeStorageAway();
  EXPECT_EQ(Start(), 1359u);
  EXPECT_EQ(feature.CancelDownload(input.jobId, message), 1359u);
  EXPECT_EQ(message, L"internal error");
}

TEST_F(DownloadJobsTest, TheReportEndsTheJobForTelemetryTheTerminalAndTheObservers) {
  ASSERT_EQ(Open("t"), 0);
  EXPECT_EQ(Start(), 0u);
  EXPECT_EQ(response.message, L"N/A");
  EXPECT_EQ(response.runContext, L"7");
  EXPECT_EQ(storage.download.items[0].to, L"C:\\a\\c");
  calls.Take();
  AddItem(L"C:\\x", 2);
  AddItem(L"C:\\y", 0);
  report.centralizedStorage.error = 5;  // One good item is a success all the same.
  Report(L"other");
  on_event = [&] { EXPECT_TRUE(HasJob(L"j")) << "forgotten before it was told"; };
  Report();
  Report();
  EXPECT_EQ(calls.Take(), (Calls{"telemetry Success", "downloaded j 1"}));
  const Calls sent = connector.streams["t"].sent.Take();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_TRUE(sent[0].starts_with("remoteAccessDownloadFinished {") && sent[0].ends_with("}"));
  EXPECT_FALSE(HasJob(L"j"));
  EXPECT_EQ(feature.CancelDownload(L"j", message), 6u);
  EXPECT_EQ(message, L"invalid jobId");

  // With nothing that arrived it has failed, also of no items. Nobody is at the stream.
  on_event = nullptr;
  input.streamId = "gone";
  for (const int32_t code : {0, 3}) {
    EXPECT_EQ(Start(), 0u);
    report.items.clear();
    if (code != 0) AddItem(L"C:\\x", code);
    Report();
    EXPECT_EQ(calls.Take(), (Calls{"download", "telemetry Failed", "downloaded j 3"}));
    EXPECT_EQ(last_event["exit_code"].asInt(), code);
  }
}

TEST_F(DownloadJobsTest, ACancelledDownloadKeepsNoneOfItsFiles) {
  input.jobId = {};
  EXPECT_EQ(Start(), 0u);
  const StringT<wchar_t> id = response.jobId;
  EXPECT_EQ(id.length(), 36u);
  storage.cancel_result = 1168;
  EXPECT_EQ(feature.CancelDownload(id, message), 1168u);
  EXPECT_EQ(message, L"N/A");
  EXPECT_EQ(feature.CancelUpload(id, message), 6u);  // None of its kind.
  EXPECT_TRUE(HasJob(id.c_str()));
  for (const wchar_t* name : {L"whole", L"failed"})
    folder.File(name);
  const UniqueFile held = folder.File(L"held");
  AddItem(folder / L"held", 0);
  AddItem(folder / L"never came", 0);
  AddItem(folder / L"failed", 5);
  AddItem(folder / L"whole", 0);
  report.centralizedStorage.error = 1223;
  calls.Take();
  Report();
  const Calls seen = calls.Take();
  EXPECT_EQ(seen[0], "telemetry Aborted");
  EXPECT_TRUE(seen[1].ends_with(" 2"));
  EXPECT_TRUE(Exists(folder / L"held") && Exists(folder / L"failed"));
  EXPECT_FALSE(Exists(folder / L"whole") || HasJob(id.c_str()));
}

}  // namespace
}  // namespace orn::RemoteAccess
