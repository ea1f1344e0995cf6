#include "module/feature/records_json.h"

#include <gtest/gtest.h>

#include <string>

#include "module/frame/json.h"

namespace orn::RemoteAccess {
namespace {

Json::Value Parse(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(JsonReader().Parse(text, value)) << text;
  return value;
}

template <class Record>
std::string Save(const Record& record, bool whole = true) {
  Json::Value node;
  EXPECT_EQ(SaveRecord(record, &node), whole);
  JsonWriter writer;
  writer.OmitEndingLineFeed();
  return writer.Write(node);
}

TEST(RecordsJsonTest, EveryMemberOfAnInputIsWantedButTheJobId) {
  const std::string upload =
      R"({"timeout":-1,"name":5,"password":"","streamId":"s","items":[{"pattern":"C:\\a"}],
          "centralizedStorage":{"profile":"p","postItems":[{"name":"n","value":"v"}]},
          "runContext":{"a":[1,2]},"jobId":"j"})";
  const Json::Value whole = Parse(upload);
  Json::Value node = whole;
  UploadArchiveInput record;
  ASSERT_TRUE(LoadRecord(record, &node));
  EXPECT_EQ(record.timeout, 0xFFFFFFFFu);
  EXPECT_EQ(record.name, L"5");
  EXPECT_EQ(record.items[0].pattern, L"C:\\a");
  EXPECT_EQ(record.postItems[0].value, "v");
  EXPECT_EQ(record.jobId, L"j");
  for (const std::string& name : whole.getMemberNames()) {
    for (const char* bad : {"null", "{}", "true"}) {
      node = whole;
      node[name] = Parse(bad);
      const bool good = name == "jobId" || (name == "runContext" && *bad != 'n');
      EXPECT_EQ(LoadRecord(record, &node), good) << name << bad;
    }
  }
  node = whole;
  node["centralizedStorage"].removeMember("postItems");
  EXPECT_FALSE(LoadRecord(record, &node));
  EXPECT_EQ(record.jobId, L"j");
  node = whole;
  node["jobId"] = true;
  Json::Value outer;
  EXPECT_FALSE(LoadRecord(record, &outer, "startUploadArchive"));
  outer["startUploadArchive"] = node;
  EXPECT_TRUE(LoadRecord(record, &outer, "startUploadArchive"));
  EXPECT_TRUE(record.jobId.empty());

  DownloadInput download;
  node = Parse(R"({"timeout":1,"items":[{"sourceUri":"u","to":"t"}],"streamId":"",
                   "centralizedStorage":{"profile":"p"},"runContext":5})");
  EXPECT_TRUE(LoadRecord(download, &node));
  EXPECT_EQ(download.items[0].sourceUri, "u");
  node["items"][1]["to"] = "t";
  EXPECT_FALSE(LoadRecord(download, &node));
}

TEST(RecordsJsonTest, RunContextComesBackAsAnEqualValue) {
  for (const std::string value : {"5", "\"a \\\"b\\\"\"", "[1,{\"x\":null}]", "{}", "false"}) {
    ProcessExecutionInput input;
    Json::Value node = Parse(
        R"({"execute":{"commandLine":"","timeout":1,"outputPath":"","workingDir":""},"runContext":)" +
        value + "}");
    ASSERT_TRUE(LoadRecord(input, &node));
    ProcessExecutionResponse response;
    response.pid = 4294967295;
    response.runContext = input.runContext;
    EXPECT_EQ(Save(response), R"({"pid":4294967295,"runContext":)" + value + "}");
  }
  EXPECT_EQ(Save(OperationResponse{}), R"({"jobId":"","message":"","runContext":null})");
}

TEST(RecordsJsonTest, ReportsStopAtWhatHasNoWord) {
  UploadArchiveMetadata upload;
  upload.items.resize(2);
  upload.items[1].errorCode = -1;
  upload.status = UploadArchiveMetadata::Status::kGatherItemsFailed;
  EXPECT_EQ(Save(upload), R"({"centralizedStorage":{"error":0,"httpResponse":{"contentLength":0,)"
                          R"("contentType":"","responseCode":0},"profile":"","reason":""},)"
                          R"("items":[{"error":"","errorCode":0,"pattern":""},)"
                          R"({"error":"","errorCode":-1,"pattern":""}],"jobId":"","name":"",)"
                          R"("runContext":null,"status":"gather items failed"})");
  upload.status = static_cast<UploadArchiveMetadata::Status>(5);
  EXPECT_EQ(Save(upload, /*whole=*/false), R"({"jobId":"","name":""})");

  ProcessExecutionMetadata process;
  process.exitCode = static_cast<int32_t>(0xC0000005);
  process.uploadError = -1;
  process.reason = ProcessExecutionMetadata::Reason::kUploadFailed;
  process.upload.jobId = L"j";
  EXPECT_EQ(Save(process), R"({"exitCode":-1073741819,"reason":"uploadFailed","runContext":null,)"
                           R"("startUploadArchive":{"error":-1,)"
                           R"("output":{"jobId":"j","message":"","runContext":null}}})");
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

}  // namespace
}  // namespace orn::RemoteAccess
