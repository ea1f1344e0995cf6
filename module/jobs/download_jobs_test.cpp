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

TEST_F(DownloadJobsTest, ARefusedStartLeavesNoJob) {
  storage.start_result = 77;
  EXPECT_EQ(Start(), 77u);
  EXPECT_EQ(response.message, L"N/A");
  EXPECT_TRUE(response.jobId.empty() && !HasJob(L"j"));
  storage.start_result = 0;
  input.jobId = std::wstring(50, L'\u20AC').c_str();
  EXPECT_EQ(Start(), 0u);
  EXPECT_EQ(Start(), 1375u);
  input.jobId = std::wstring(51, L'x').c_str();
  EXPECT_EQ(Start(), 8348u);
  EXPECT_EQ(calls.Take(), (Calls{"download", "telemetry FailedToStart::CentralizedStorageError",
                                 "download", "telemetry FailedToStart::InvalidInput",
                                 "telemetry FailedToStart::InvalidInput"}));
  TakeStorageAway();
  EXPECT_EQ(Start(), 1359u);
  EXPECT_EQ(feature.CancelDownload(L"j", message), 1359u);
}

TEST_F(DownloadJobsTest, TheReportEndsTheJobForTelemetryTheTerminalAndTheObservers) {
  const struct {
    std::vector<int32_t> items;
    const char* telemetry;
    const char* event;
    int32_t exit_code;
  } kEnds[] = {{{2, 0}, "telemetry Success", "downloaded j 1", 0},
               {{}, "telemetry Failed", "downloaded j 3", 0},
               {{3}, "telemetry Failed", "downloaded j 3", 3}};
  on_event = [&] { EXPECT_TRUE(HasJob(L"j")) << "forgotten before it was told"; };
  report.centralizedStorage.error = 5;  // One good item is a success all the same.
  for (const auto& end : kEnds) {
    EXPECT_EQ(Start(), 0u);
    EXPECT_EQ(storage.download.items[0].to, L"C:\\a\\c");
    report.items.clear();
    for (const int32_t code : end.items)
      AddItem(L"C:\\x", code);
    Report(L"other");
    Report();
    EXPECT_EQ(calls.Take(), (Calls{"download", end.telemetry, end.event}));
    EXPECT_EQ(last_event["exit_code"].asInt(), end.exit_code);
    EXPECT_FALSE(HasJob(L"j"));
  }
  const Calls sent = connector.streams["t"].sent.Take();
  ASSERT_EQ(sent.size(), std::size(kEnds));
  EXPECT_TRUE(sent[0].starts_with("remoteAccessDownloadFinished {") && sent[0].ends_with("}"));
}

TEST_F(DownloadJobsTest, ACancelledDownloadKeepsNoneOfItsFiles) {
  input.jobId = {};
  EXPECT_EQ(Start(), 0u);
  const StringT<wchar_t> id = response.jobId;
  storage.cancel_result = 1168;
  EXPECT_EQ(feature.CancelDownload(id, message), 1168u);
  EXPECT_EQ(feature.CancelUpload(id, message), 6u) << "none of its kind";
  EXPECT_TRUE(HasJob(id));
  const TestFolder& folder = temp.folder;
  for (const wchar_t* name : {L"whole", L"failed"})
    folder.File(name);
  const UniqueFile held = folder.File(L"held");
  AddItem(folder / L"held", 0);
  AddItem(folder / L"never came", 0);
  AddItem(folder / L"failed", 5);
  AddItem(folder / L"whole", 0);
  report.centralizedStorage.error = 1223;
  Report();
  EXPECT_TRUE(Exists(folder / L"held") && Exists(folder / L"failed"));
  EXPECT_FALSE(Exists(folder / L"whole") || HasJob(id));
  const Calls seen = calls.Take();
  EXPECT_EQ(seen[2], "telemetry Aborted");
  EXPECT_TRUE(seen[3].starts_with("downloaded ") && seen[3].ends_with(" 2"));
}

}  // namespace
}  // namespace orn::RemoteAccess
