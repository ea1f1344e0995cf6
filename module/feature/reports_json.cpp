#include <span>

#include "module/feature/records_json.h"
#include "module/frame/json.h"
#include "module/frame/json_composed.h"

namespace orn::RemoteAccess {
namespace {

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

}  // namespace orn::RemoteAccess
