#include "module/feature/records_json.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "module/frame/json_path.h"
#include "module/frame/testing/json_text.h"

namespace orn::RemoteAccess {
namespace {

template <class Record>
std::string Save(const Record& record) {
  Json::Value node;
  EXPECT_TRUE(SaveRecord(record, &node));
  return Write(node);
}

TEST(RecordsJsonTest, TextsMayBeNumbersAndNothingElseIsTakenForWhatItIsNot) {
  const Json::Value whole = Parse(
      R"({"timeout":-1,"name":5,"password":"","streamId":"s","items":[{"pattern":"C:\\a"}],
          "centralizedStorage":{"profile":"p","postItems":[{"name":"n","value":"v"}]},
          "runContext":{"a":[1,2]},"jobId":"j"})");
  UploadArchiveInput record;
  Json::Value node = whole;
  ASSERT_TRUE(LoadRecord(record, &node));
  EXPECT_EQ(record.timeout, 0xFFFFFFFFu);
  EXPECT_EQ(record.name, L"5");
  for (const std::string& name : whole.getMemberNames()) {
    for (const char* const other : {"{}", "true"}) {
      node = whole;
      node[name] = Parse(other);
      const bool good = name == "jobId" || name == "runContext";
      EXPECT_EQ(LoadRecord(record, &node), good) << name << other;
    }
  }
  Json::Value outer;
  EXPECT_FALSE(LoadRecord(record, &outer, "startUploadArchive"));
  outer["startUploadArchive"] = whole;
  outer["startUploadArchive"]["jobId"] = true;
  EXPECT_TRUE(LoadRecord(record, &outer, "startUploadArchive"));
  EXPECT_TRUE(record.jobId.empty());
}

TEST(RecordsJsonTest, ResponseIsAValueATextOrBase64) {
  DownloadMetadata record;
  HttpResponse& response = record.centralizedStorage.httpResponse;
  const auto saved = [&] {
    Json::Value node;
    EXPECT_TRUE(SaveRecord(record, &node));
    EXPECT_EQ(node["items"], Json::Value(Json::arrayValue));
    const Json::Value& http = node["centralizedStorage"]["httpResponse"];
    return http["body"].toStyledString() + http["body64"].toStyledString();
  };
  response.body = R"({"a": 1})";
  response.contentType = "application/json";
  EXPECT_EQ(saved(), "{\n\t\"a\" : 1\n}\nnull\n");
  response.contentType = "application/json; charset=utf-8";
  EXPECT_EQ(saved(), "\"{\\\"a\\\": 1}\"\nnull\n");
  response.contentType = "application/json";
  response.body = "{no JSON";
  EXPECT_EQ(saved(), "\"{no JSON\"\nnull\n");
  response.body64 = "aGk=";
  EXPECT_EQ(saved(), "null\n\"aGk=\"\n");
}

// The paths of all members, of an array's elements the first.
std::vector<std::string> Paths(const Json::Value& node, const std::string& path) {
  std::vector<std::string> paths{path};
  const auto below = [&](const std::string& deeper, const Json::Value& value) {
    for (std::string& found : Paths(value, deeper))
      paths.push_back(std::move(found));
  };
  if (node.isObject()) {
    for (const std::string& name : node.getMemberNames())
      below(path + (path.ends_with(']') ? "" : "/") + name, node[name]);
  } else if (node.isArray() && !node.empty()) {
    below(path + "[0]", node[0]);
  }
  return paths;
}

// Saves, loads and saves again, as text under "data"; then takes each member away in turn.
template <class Record>
void ComesBackWholeOrNotAtAll(const Record& record, const std::set<std::string>& optional = {}) {
  const std::string text = "{\"data\":" + Save(record) + "}";
  Json::Value node = Parse(text);
  Record loaded;
  ASSERT_TRUE(LoadRecord(loaded, &node, "/data")) << text;
  EXPECT_EQ("{\"data\":" + Save(loaded) + "}", text);
  for (const std::string& path : Paths(Parse(text)["data"], "/data")) {
    node = Parse(text);
    *FindNode(&node, path.c_str(), /*create=*/false) = Json::Value();
    EXPECT_EQ(LoadRecord(loaded, &node, "/data"), optional.contains(path)) << path;
  }
  node = Parse("[]");
  EXPECT_FALSE(LoadRecord(loaded, &node, "/data"));
  EXPECT_FALSE(LoadRecord(loaded, nullptr, "/data"));
}

TEST(RecordsJsonTest, ReportsComeBackWholeOrNotAtAll) {
  const StringT<wchar_t> text(std::wstring_view(L"\u00E4\xD83D\xDE00\0\"\\\n", 8));
  DownloadMetadata download;
  download.items = {{"u\0", L"C:\\\u00FC", -5, text}, {}};
  download.runContext = L"[1]";
  download.jobId = text;
  download.status = DownloadMetadata::Status::kAborted;
  download.centralizedStorage.reason = text;
  HttpResponse& response = download.centralizedStorage.httpResponse;
  response = {"{\"a\" : [ 1 ]}", "", "application/json", int64_t{1} << 40, -1};
  const std::string http = "/data/centralizedStorage/httpResponse/body";
  ComesBackWholeOrNotAtAll(download, {http, http + "/a", http + "/a[0]", "/data/runContext[0]"});
  Json::Value node;
  ASSERT_TRUE(SaveRecord(download, &node));
  DownloadMetadata loaded;
  ASSERT_TRUE(LoadRecord(loaded, &node));
  EXPECT_EQ(loaded.centralizedStorage.httpResponse.body, "{\"a\":[1]}");
  EXPECT_EQ(loaded.jobId, text);
  node["status"] = "Aborted";
  EXPECT_FALSE(LoadRecord(loaded, &node));
  // A body that is in the record already does not stay beside the other.
  response.body64 = "aGk=";
  ASSERT_TRUE(SaveRecord(download, &node));
  ASSERT_TRUE(LoadRecord(loaded, &node));
  EXPECT_TRUE(loaded.centralizedStorage.httpResponse.body.empty());
  ComesBackWholeOrNotAtAll(download, {http + "64", "/data/runContext[0]"});

  UploadArchiveMetadata upload;
  upload.status = UploadArchiveMetadata::Status::kUploadFailed;
  upload.items = {{L"C:\\*", 2, text}};
  upload.runContext = L"false";
  ComesBackWholeOrNotAtAll(upload);

  ProcessExecutionMetadata process;
  process.exitCode = -1;
  process.reason = ProcessExecutionMetadata::Reason::kError;
  process.runContext = L"{\"a\":0}";
  process.upload = {text, L"\"\"", L""};
  process.uploadError = INT32_MIN;
  ComesBackWholeOrNotAtAll(process, {"/data/runContext/a"});

  ComesBackWholeOrNotAtAll(TerminalSessionState{"\xC3\xA4", true, INT64_MIN, INT64_MAX});
}

TEST(RecordsJsonTest, InputsAndAnswersComeBack) {
  DownloadInput download;
  download.timeout = UINT32_MAX;
  download.items = {{"u", L"t"}};
  download.runContext = L"5";
  ComesBackWholeOrNotAtAll(download, {"/data/jobId"});

  UploadArchiveInput upload;
  upload.jobId = L"j";
  upload.items = {{L"*"}, {L""}};
  upload.postItems = {{"n", "v"}};
  upload.runContext = L"{}";
  ComesBackWholeOrNotAtAll(upload, {"/data/jobId"});

  ProcessExecutionInput process;
  process.commandLine = L"\"a\" b";
  process.runContext = L"[]";
  ComesBackWholeOrNotAtAll(process);
  ComesBackWholeOrNotAtAll(OperationResponse{L"m", L"0", L""});

  Json::Value node;
  ASSERT_TRUE(SaveRecordWithStatus({.status = -1, .pid = UINT32_MAX, .runContext = L"1"}, &node));
  ProcessExecutionResponse response;
  ASSERT_TRUE(LoadRecordWithStatus(response, &node));
  EXPECT_EQ(response.pid, UINT32_MAX);
  node.removeMember("error");
  EXPECT_FALSE(LoadRecordWithStatus(response, &node));

  for (const size_t size : {0, 3}) {
    const std::vector<TerminalSessionState> list(size);
    ASSERT_TRUE(SaveRecords(list, &node, "/data"));
    std::vector<TerminalSessionState> loaded(1);
    EXPECT_TRUE(LoadRecords(loaded, &node, "/data"));
    EXPECT_EQ(loaded.size(), list.size());
  }
  node["data"][2]["isConnected"] = "yes";
  std::vector<TerminalSessionState> loaded(1);
  EXPECT_FALSE(LoadRecords(loaded, &node, "/data"));
  EXPECT_TRUE(loaded.empty());
}

}  // namespace
}  // namespace orn::RemoteAccess
