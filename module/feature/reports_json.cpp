#include <span>

#include "module/feature/records_json.h"
#include "module/frame/json.h"
#include "module/frame/json_composed.h"

namespace orn::RemoteAccess {
namespace {

using Serializer = JsonComposedSerializer;

constexpr const char* kDownloadStatus[] = {"none", "success", "aborted", "failed"};
constexpr const char* kUploadStatus[] = {"none", "success", "aborted", "gather items failed",
                                         "upload failed"};
constexpr const char* kProcessReason[] = {"completed", "timeout", "canceled", "uploadFailed",
                                          "error"};

// False for a number that has no word.
bool SaveWord(size_t number, std::span<const char* const> words, Json::Value* node,
              const char* key) {
  return number < words.size() && SetJson(Json::Value(words[number]), node, key);
}

bool LoadDownloadItem(DownloadItemResult& item, const Serializer& at) {
  return at.Field(item.sourceUri, "sourceUri") && at.Field(item.to, "to") &&
         at.Field(item.errorCode, "errorCode") && at.Field(item.error, "error");
}

bool LoadUploadItem(UploadItemResult& item, const Serializer& at) {
  return at.Field(item.pattern, "pattern") && at.Field(item.errorCode, "errorCode") &&
         at.Field(item.error, "error");
}

// A body that went as a JSON value comes back as its text.
bool LoadBody(HttpResponse& response, const Serializer& at) {
  response.body.clear();
  response.body64.clear();
  if (at.Has("body64")) return at.Field(response.body64, "body64");
  if (!at.Has("body")) return true;
  if (response.contentType != "application/json") return at.Field(response.body, "body");
  JsonWriter writer;
  writer.OmitEndingLineFeed();
  response.body = std::string_view(writer.Write(JsonMember(*at.cursor(), "body")));
  return true;
}

bool LoadHttpResponse(HttpResponse& response, const Serializer& outer) {
  return outer.Group("httpResponse", [&](const Serializer& at) {
    return at.Field(response.responseCode, "responseCode") &&
           at.Field(response.contentType, "contentType") &&
           at.Field(response.contentLength, "contentLength") && LoadBody(response, at);
  });
}

bool LoadStorageResult(CentralizedStorageResult& result, const Serializer& outer) {
  return outer.Group("centralizedStorage", [&](const Serializer& at) {
    return at.Field(result.profile, "profile") && at.Field(result.error, "error") &&
           at.Field(result.reason, "reason") && LoadHttpResponse(result.httpResponse, at);
  });
}

bool LoadSession(TerminalSessionState& record, const Serializer& at) {
  return at.Field(record.terminalId, "terminalId") && at.Field(record.isConnected, "isConnected") &&
         at.Field(record.startTimestamp, "startTimestamp") &&
         at.Field(record.endTimestamp, "endTimestamp");
}

bool SaveDownloadItem(const DownloadItemResult& item, Json::Value* node) {
  return SetJson(item.sourceUri, node, "sourceUri") && SetJson(item.to, node, "to") &&
         SetJson(item.errorCode, node, "errorCode") && SetJson(item.error, node, "error");
}

bool SaveUploadItem(const UploadItemResult& item, Json::Value* node) {
  return SetJson(item.pattern, node, "pattern") && SetJson(item.errorCode, node, "errorCode") &&
         SetJson(item.error, node, "error");
}

bool SaveHttpResponse(const HttpResponse& response, Json::Value* node) {
  MoveToSubnode(node, "httpResponse");
  if (!SetJson(response.responseCode, node, "responseCode") ||
      !SetJson(response.contentType, node, "contentType") ||
      !SetJson(response.contentLength, node, "contentLength")) {
    return false;
  }
  if (!response.body64.empty()) return SetJson(response.body64, node, "body64");
  if (response.body.empty()) return true;
  Json::Value body;
  if (response.contentType == "application/json" &&
      JsonReader().Parse(std::string(response.body.view()), body)) {
    return SetJson(std::move(body), node, "body");
  }
  return SetJson(response.body, node, "body");
}

bool SaveStorageResult(const CentralizedStorageResult& result, Json::Value* node) {
  MoveToSubnode(node, "centralizedStorage");
  return SetJson(result.profile, node, "profile") && SetJson(result.error, node, "error") &&
         SetJson(result.reason, node, "reason") && SaveHttpResponse(result.httpResponse, node);
}

}  // namespace

bool LoadRecord(DownloadMetadata& record, Json::Value* node, const char* path) {
  return Serializer(node).Group(path, [&](const Serializer& root) {
    return LoadStorageResult(record.centralizedStorage, root) &&
           root.List(record.items, "items", LoadDownloadItem) &&
           root.JsonTextField(record.runContext, "runContext") &&
           root.Field(record.jobId, "jobId") &&
           root.WordField(record.status, "status", kDownloadStatus);
  });
}

bool LoadRecord(UploadArchiveMetadata& record, Json::Value* node, const char* path) {
  return Serializer(node).Group(path, [&](const Serializer& root) {
    return root.Field(record.jobId, "jobId") && root.Field(record.name, "name") &&
           root.WordField(record.status, "status", kUploadStatus) &&
           root.List(record.items, "items", LoadUploadItem) &&
           root.JsonTextField(record.runContext, "runContext") &&
           LoadStorageResult(record.centralizedStorage, root);
  });
}

bool LoadRecord(ProcessExecutionMetadata& record, Json::Value* node, const char* path) {
  return Serializer(node).Group(path, [&](const Serializer& root) {
    return root.Field(record.exitCode, "exitCode") &&
           root.WordField(record.reason, "reason", kProcessReason) &&
           root.JsonTextField(record.runContext, "runContext") &&
           LoadRecord(record.upload, root.cursor(), "startUploadArchive\\output") &&
           root.Field(record.uploadError, "startUploadArchive\\error");
  });
}

bool LoadRecord(TerminalSessionState& record, Json::Value* node, const char* path) {
  return Serializer(node).Group(path,
                                [&](const Serializer& root) { return LoadSession(record, root); });
}

bool LoadRecords(std::vector<TerminalSessionState>& records, Json::Value* node, const char* path) {
  return Serializer(node).List(records, path, LoadSession);
}

bool SaveRecord(const DownloadMetadata& record, Json::Value* node) {
  return SaveStorageResult(record.centralizedStorage, node) &&
         SaveJsonList(record.items, node, "items", SaveDownloadItem) &&
         SetJsonText(record.runContext, node, "runContext") &&
         SetJson(record.jobId, node, "jobId") &&
         SaveWord(static_cast<size_t>(record.status), kDownloadStatus, node, "status");
}

bool SaveRecord(const UploadArchiveMetadata& record, Json::Value* node) {
  return SetJson(record.jobId, node, "jobId") && SetJson(record.name, node, "name") &&
         SaveWord(static_cast<size_t>(record.status), kUploadStatus, node, "status") &&
         SaveJsonList(record.items, node, "items", SaveUploadItem) &&
         SetJsonText(record.runContext, node, "runContext") &&
         SaveStorageResult(record.centralizedStorage, node);
}

bool SaveRecord(const ProcessExecutionMetadata& record, Json::Value* node) {
  Json::Value* upload = node;
  return SetJson(record.exitCode, node, "exitCode") &&
         SaveWord(static_cast<size_t>(record.reason), kProcessReason, node, "reason") &&
         SetJsonText(record.runContext, node, "runContext") &&
         (MoveToSubnode(upload, "startUploadArchive\\output"), SaveRecord(record.upload, upload)) &&
         SetJson(record.uploadError, node, "startUploadArchive\\error");
}

bool SaveRecord(const TerminalSessionState& record, Json::Value* node) {
  return SetJson(record.terminalId, node, "terminalId") &&
         SetJson(record.isConnected, node, "isConnected") &&
         SetJson(record.startTimestamp, node, "startTimestamp") &&
         SetJson(record.endTimestamp, node, "endTimestamp");
}

bool SaveRecords(const std::vector<TerminalSessionState>& records, Json::Value* node,
                 const char* path) {
  return SaveJsonList(records, node, path, [](const TerminalSessionState& record, Json::Value* at) {
    return SaveRecord(record, at);
  });
}

}  // namespace orn::RemoteAccess
