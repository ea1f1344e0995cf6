#include "module/feature/records_json.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "module/frame/json_path.h"
#include "module/frame/testing/json_text.h"
#include "module/frame/utf.h"

namespace orn::RemoteAccess {
namespace {

using namespace std::string_literals;

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

// Loads the text and saves it again; then takes each member away in turn. Gives what was loaded.
template <class Record>
Record ComesBackWholeOrNotAtAll(const std::string& text,
                                const std::set<std::string>& optional = {}) {
  Record whole, cut;
  Json::Value node;
  node["data"] = Parse(text);
  EXPECT_TRUE(LoadRecord(whole, &node, "/data")) << text;
  EXPECT_EQ(Save(whole), text);
  for (const std::string& path : Paths(Parse(text), "/data")) {
    node["data"] = Parse(text);
    *FindNode(&node, path.c_str(), /*create=*/false) = Json::Value();
    EXPECT_EQ(LoadRecord(cut, &node, "/data"), optional.contains(path)) << path;
  }
  node = Parse("[]");
  EXPECT_FALSE(LoadRecord(cut, &node, "/data"));
  EXPECT_FALSE(LoadRecord(cut, nullptr, "/data"));
  return whole;
}

TEST(RecordsJsonTest, ReportsComeBackWholeOrNotAtAll) {
  const std::string odd = R"(\u00e4\ud83d\ude00\u0000\"\\\n)";
  const auto download = [&](const std::string& body) {
    return R"({"centralizedStorage":{"error":0,"httpResponse":{)" + body +
           R"(,"contentLength":1099511627776,"contentType":"application/json","responseCode":-1},)"
           R"("profile":"","reason":""},"items":[{"error":")" +
           odd +
           R"(","errorCode":-5,"sourceUri":"u","to":"C:\\\u00fc"},)"
           R"({"error":"","errorCode":0,"sourceUri":"","to":""}],"jobId":")" +
           odd + R"(","runContext":[1],"status":"aborted"})";
  };
  const std::string body = "/data/centralizedStorage/httpResponse/body";
  auto loaded = ComesBackWholeOrNotAtAll<DownloadMetadata>(
      download(R"("body":{"a":[1]})"), {body, body + "/a", body + "/a[0]", "/data/runContext[0]"});
  EXPECT_EQ(loaded.centralizedStorage.httpResponse.body, "{\"a\":[1]}");
  EXPECT_EQ(loaded.jobId, ToWide("\xC3\xA4\xF0\x9F\x98\x80\0\"\\\n"s));
  const std::string other = download(R"("body64":"aGk=")");
  ComesBackWholeOrNotAtAll<DownloadMetadata>(other, {body + "64", "/data/runContext[0]"});
  // A body that is in the record already does not stay beside the other.
  Json::Value node = Parse(other);
  EXPECT_TRUE(LoadRecord(loaded, &node));
  EXPECT_TRUE(loaded.centralizedStorage.httpResponse.body.empty());
  node["status"] = "Aborted";
  EXPECT_FALSE(LoadRecord(loaded, &node));

  ComesBackWholeOrNotAtAll<UploadArchiveMetadata>(
      R"({"centralizedStorage":{"error":0,"httpResponse":{"contentLength":0,"contentType":"",)"
      R"("responseCode":0},"profile":"","reason":""},"items":[{"error":"","errorCode":2,)"
      R"("pattern":"C:\\*"}],"jobId":"","name":"","runContext":false,"status":"upload failed"})");
  ComesBackWholeOrNotAtAll<ProcessExecutionMetadata>(
      R"({"exitCode":-1,"reason":"error","runContext":{"a":0},"startUploadArchive":)"
      R"({"error":-2147483648,"output":{"jobId":"","message":"m","runContext":""}}})",
      {"/data/runContext/a"});
  ComesBackWholeOrNotAtAll<TerminalSessionState>(
      R"({"endTimestamp":9223372036854775807,"isConnected":true,)"
      R"("startTimestamp":-9223372036854775808,"terminalId":"\u00e4"})");
}

TEST(RecordsJsonTest, InputsAndAnswersComeBack) {
  ComesBackWholeOrNotAtAll<DownloadInput>(
      R"({"centralizedStorage":{"profile":""},"items":[{"sourceUri":"u","to":"t"}],"jobId":"",)"
      R"("runContext":5,"streamId":"","timeout":4294967295})",
      {"/data/jobId"});
  ComesBackWholeOrNotAtAll<UploadArchiveInput>(
      R"({"centralizedStorage":{"postItems":[{"name":"n","value":"v"}],"profile":""},"items":)"
      R"([{"pattern":"*"},{"pattern":""}],"jobId":"j","name":"","password":"","runContext":{},)"
      R"("streamId":"","timeout":0})",
      {"/data/jobId"});
  ComesBackWholeOrNotAtAll<ProcessExecutionInput>(
      R"({"execute":{"commandLine":"\"a\" b","outputPath":"","timeout":0,"workingDir":""},)"
      R"("runContext":[]})");
  ComesBackWholeOrNotAtAll<OperationResponse>(R"({"jobId":"","message":"m","runContext":0})");

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
