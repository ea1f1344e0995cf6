#include <string>
#include <vector>

#include "module/feature/records_json.h"
#include "module/feature/testing/call_list.h"
#include "module/rpc/comm/json_data.h"
#include "module/rpc/comm/remote_access_client_channels.h"
#include "module/rpc/comm/remote_access_comm_client_plugin.h"
#include "module/rpc/comm/remote_access_server_plugin.h"
#include "module/rpc/comm/testing/fake_remote_access.h"
#include "module/rpc/testing/hand.h"
#include "module/rpc/testing/two_ends.h"

namespace orn::RemoteAccess {
namespace {

using messaging::rpc::ParameterList;
using messaging::rpc::ToJsonData;
using messaging::testing::odd_server;
using messaging::testing::raw_client;
using messaging::testing::two_ends;

// Letters of all lengths, a zero, and what JSON escapes.
const StringT<wchar_t> kText(std::wstring_view(L"\u00E4\xD83D\xDE00\0\"\\/\n\x7F", 9));
const StringT<wchar_t> kHalfACharacter(L"\xD83D");
const StringT<char> kNarrow("\xC3\xA4\xF0\x9F\x98\x80");

template <class Server>
using Ends = two_ends<RemoteAccessCommClientPlugin, Server, FakeRemoteAccess>;
using RemoteAccessCommTest = Ends<RemoteAccessServerPlugin>;

DownloadInput SomeDownload() {
  DownloadInput input;
  input.timeout = UINT32_MAX;
  input.items = {{kNarrow, L"C:\\\u00FC"}, {}};
  input.profile = kText;
  input.runContext = L"{\"a\":[1,null]}";
  input.jobId = kText;
  return input;
}

UploadArchiveInput SomeUpload() {
  UploadArchiveInput input;
  input.name = kText;
  input.password = L"\"";
  input.streamId = kNarrow;
  input.postItems = {{kNarrow, ""}};
  input.runContext = L"0";
  return input;
}

TEST_F(RemoteAccessCommTest, CallsArriveWholeAndSoDoTheirAnswers) {
  for (const size_t count : {0, 2}) {
    target.sessions.assign(count, {kNarrow, true, INT64_MIN, INT64_MAX});
    List<TerminalSessionState> list;
    list.PushBack({"old", false, 0, 0});
    EXPECT_EQ(client.GetActiveTerminalSessions(list), 0u);
    ASSERT_EQ(list.Size(), count);
    EXPECT_TRUE(count == 0 || ToJsonData(*list.Front()) == ToJsonData(target.sessions[0]));
  }

  target.response = {kText, L"\"echo\"", kText};
  for (const uint32_t status : {0u, 8348u}) {
    // A refusal brings its words along.
    target.status = status;
    OperationResponse response;
    EXPECT_EQ(client.StartDownload(SomeDownload(), response), status);
    EXPECT_EQ(ToJsonData(target.download), ToJsonData(SomeDownload()));
    EXPECT_EQ(ToJsonData(response), ToJsonData(target.response));
    response = {};
    EXPECT_EQ(client.StartUploadArchive(SomeUpload(), response), status);
    EXPECT_EQ(ToJsonData(target.upload), ToJsonData(SomeUpload()));
    EXPECT_EQ(ToJsonData(response), ToJsonData(target.response));
    // UTF-16 goes as it is.
    for (const StringT<wchar_t>& text : {kText, kHalfACharacter, StringT<wchar_t>()}) {
      target.message = text;
      StringT<wchar_t> message(L"old");
      EXPECT_EQ(client.CancelDownload(text, message), status);
      EXPECT_EQ(target.job_id, text);
      EXPECT_EQ(message, text);
      EXPECT_EQ(client.CancelUpload(kText, message), status);
      EXPECT_EQ(target.job_id, kText);
      EXPECT_EQ(message, text);
    }
  }

  ProcessExecutionInput input;
  input.commandLine = kText;
  input.outputPath = kHalfACharacter;
  input.runContext = L"[]";
  target.started = {.status = -7, .pid = UINT32_MAX, .runContext = L"1"};
  ProcessExecutionResponse response;
  EXPECT_EQ(client.StartProcess(input, SomeUpload(), response), 8348u);
  EXPECT_EQ(response.status, -1);
  target.status = 0;
  EXPECT_EQ(client.StartProcess(input, SomeUpload(), response), 0u);
  EXPECT_EQ(target.process.commandLine, kText);
  EXPECT_EQ(target.process.outputPath, L"\xFFFD");
  EXPECT_EQ(response.status, -7);
}

TEST_F(RemoteAccessCommTest, BadInputReachesNobody) {
  raw_client raw(&near_host, "RemoteAccess");
  ParameterList in;
  for (const char* bad : {"", "null", "{\"data\":5}", "{\"data\":{}"}) {
    for (uint32_t id : {0x0302, 0x0602, 0x0D02})
      EXPECT_TRUE(in.AddBytes(id, bad));
    for (int32_t method : {4, 6, 8})
      EXPECT_EQ(raw.call(method, in), 87) << bad;
  }
  for (uint32_t id : {0x0902, 0x0B02})
    EXPECT_TRUE(in.AddBytes(id, "odd"));
  EXPECT_EQ(raw.call(5, in), 87);
  EXPECT_EQ(raw.call(7, in), 87);
  ProcessExecutionInput process;
  process.runContext = L"1";
  EXPECT_TRUE(in.AddBytes(0x0D02, ToJsonData(process)));
  EXPECT_EQ(raw.call(8, in), 87);
  EXPECT_TRUE(in.AddBytes(0x0E02, "{}"));
  EXPECT_EQ(raw.call(8, in), 87);
  EXPECT_EQ(target.calls, 0);
  EXPECT_TRUE(in.AddValue(0x0101, 2));
  EXPECT_EQ(raw.call(1, in), 0);
  EXPECT_TRUE(target.enabled);
}

// Keeps the records as their texts.
struct Observer final : IRemoteAccess::IStateEvent,
                        IRemoteAccess::IFileOperationEvent,
                        IRemoteAccess::IProcessOperationsEvent {
  CallList heard;

  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override {
    return heard.Add(ToJsonData(state), 1234);
  }
  uint32_t OnDownloadFinished(const DownloadMetadata& metadata) override {
    return heard.Add(ToJsonData(metadata), 1234);
  }
  uint32_t OnUploadFinished(const UploadArchiveMetadata& metadata) override {
    return heard.Add(ToJsonData(metadata), 1234);
  }
  uint32_t OnProcessFinished(const ProcessExecutionMetadata& metadata) override {
    return heard.Add(ToJsonData(metadata), 1234);
  }
};

TEST_F(RemoteAccessCommTest, EventsReachTheirObserverWholeOrNotAtAll) {
  Observer observer;
  EXPECT_EQ(client.RegisterStateEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(client.RegisterStateEvent(&observer, 0, 0), 87u);
  EXPECT_EQ(client.RegisterStateEvent(nullptr, 0, 0), 87u);
  EXPECT_EQ(client.RegisterFileOperationEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(client.RegisterProcessOperationsEvent(&observer, 0, 0), 0u);
  for (int i = 0; i < 3; ++i)
    target.registered.Acquire();

  const auto arrives = [&](auto& observers, auto event, const auto& record, bool whole = true) {
    ASSERT_EQ(observers.size(), 1u);
    EXPECT_EQ((observers[0]->*event)(record), 0u);
    if (!whole) return;
    EXPECT_EQ(observer.heard.Take(1)[0], ToJsonData(record));
  };
  using State = IRemoteAccess::IStateEvent;
  using File = IRemoteAccess::IFileOperationEvent;
  using Process = IRemoteAccess::IProcessOperationsEvent;
  arrives(target.state_observers, &State::OnTerminalSessionStateChanged,
          TerminalSessionState{kNarrow, true, 1, 0});
  DownloadMetadata download;
  download.items = {{kNarrow, L"\u00FC", -5, kText}};
  download.runContext = L"[1]";
  download.status = DownloadMetadata::Status::kAborted;
  download.centralizedStorage.httpResponse.body = kNarrow;
  arrives(target.file_observers, &File::OnDownloadFinished, download);
  UploadArchiveMetadata upload;
  upload.runContext = L"\"\"";
  arrives(target.file_observers, &File::OnUploadFinished, upload);
  ProcessExecutionMetadata process;
  process.runContext = process.upload.runContext = L"false";
  // What lacks a member is dropped: the one behind it comes next.
  arrives(target.process_observers, &Process::OnProcessFinished, ProcessExecutionMetadata(),
          /*whole=*/false);
  arrives(target.process_observers, &Process::OnProcessFinished, process);

  EXPECT_EQ(client.UnregisterStateEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(client.UnregisterStateEvent(&observer, 0, 0), 87u);
  EXPECT_EQ(client.UnregisterFileOperationEvent(&observer, 0, 0), 0u);
  EXPECT_EQ(client.UnregisterProcessOperationsEvent(&observer, 0, 0), 0u);
  for (int i = 0; i < 3; ++i)
    target.registered.Acquire();
  EXPECT_TRUE(target.state_observers.empty() && target.file_observers.empty() &&
              target.process_observers.empty());
}

TEST(RemoteAccessChannelsTest, RefuseWhatIsNoEventOfTheirs) {
  StateEventClientChannel state;
  FileOperationEventClientChannel file;
  ProcessOperationClientChannel process;
  ParameterList in;
  ParameterList out;
  for (const char* text : {"{", "{\"data\":{\"jobId\":\"\",\"exitCode\":0}}"}) {
    for (int32_t method = -1; method <= 5; ++method) {
      EXPECT_EQ(state.handle(method, in, out), 87);
      EXPECT_EQ(file.handle(method, in, out), 87);
      EXPECT_EQ(process.handle(method, in, out), 87);
    }
    for (uint32_t id : {0x0202, 0x0502, 0x0802, 0x1002})
      EXPECT_TRUE(in.AddBytes(id, text));
  }
}

using OddServer = odd_server<IRemoteAccess>;
using RemoteAccessOddServerTest = Ends<OddServer>;

TEST_F(RemoteAccessOddServerTest, AnswersThatMakeNoSenseAndNoneAreToldAsTheCallHasIt) {
  const OperationResponse whole{L"m", L"1", L"j"};
  ProcessExecutionResponse started;
  started.runContext = L"1";
  const std::string started_text = messaging::rpc::WriteJsonData(
      [&](Json::Value* node) { SaveRecordWithStatus(started, node); });
  struct Row {
    const char* why;
    int32_t status;
    bool tree;
    std::string text;  // of all outputs, in bytes
    uint32_t sessions, start, cancel, process;
  };
  const Row rows[] = {
      {"nothing", 0, false, "", 87, 87, 87, 87},
      {"only a failure", 5, false, "", 5, 5, 87, 5},
      {"a failure beside other things", 5, true, "", 5, 87, 87, 87},
      {"no JSON", 0, true, "{\"data\"", 87, 87, 87, 87},
      {"a failure and no JSON", 5, true, "{\"data\"}", 5, 5, 5, 87},
      {"no record", 0, true, "{\"data\":[{}]} ", 87, 87, 0, 87},
      {"a failure and what goes with it", 8, true, ToJsonData(whole) + ' ', 8, 8, 8, 87},
      {"a failure and the process", 8, true, started_text, 8, 8, 8, 0},
  };
  const auto expect = [&](const Row& row) {
    const uint32_t odd = row.text.size() % 2 != 0 ? 87 : row.cancel;
    List<TerminalSessionState> list;
    OperationResponse response;
    ProcessExecutionResponse process;
    StringT<wchar_t> message;
    bool enabled = true;
    EXPECT_EQ(client.GetEnabled(&enabled), static_cast<uint32_t>(row.status)) << row.why;
    EXPECT_TRUE(enabled);
    EXPECT_EQ(client.GetActiveTerminalSessions(list), row.sessions) << row.why;
    EXPECT_EQ(client.StartDownload(SomeDownload(), response), row.start) << row.why;
    EXPECT_EQ(client.StartUploadArchive(SomeUpload(), response), row.start) << row.why;
    EXPECT_EQ(client.CancelDownload(L"j", message), odd) << row.why;
    EXPECT_EQ(client.CancelUpload(L"j", message), odd) << row.why;
    EXPECT_EQ(client.StartProcess({}, SomeUpload(), process), row.process) << row.why;
  };
  for (const Row& row : rows) {
    OddServer::give = [&](ParameterList& out) {
      EXPECT_TRUE(!row.tree || out.AddValue(0x0201, 1));
      for (uint32_t id : {0x0202, 0x0402, 0x0702, 0x0A02, 0x0C02, 0x0F02})
        EXPECT_TRUE(row.text.empty() || out.AddBytes(id, row.text));
      return row.status;
    };
    expect(row);
  }
  StopServer();
  expect({"no server", 2250, false, "", 2250, 2250, 87, 2250});
  EXPECT_EQ(client.SetEnabled(true), 2250u);
}

}  // namespace
}  // namespace orn::RemoteAccess
