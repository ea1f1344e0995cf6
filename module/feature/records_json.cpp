#include "module/feature/records_json.h"

#include "module/frame/json_composed.h"

namespace orn::RemoteAccess {
namespace {

using Serializer = JsonComposedSerializer;

bool LoadDownloadItem(DownloadItem& item, const Serializer& at) {
  return at.Field(item.sourceUri, "sourceUri") && at.Field(item.to, "to");
}

bool LoadUploadItem(UploadItem& item, const Serializer& at) {
  return at.Field(item.pattern, "pattern");
}

bool LoadPostItem(PostItem& item, const Serializer& at) {
  return at.Field(item.name, "name") && at.Field(item.value, "value");
}

bool SaveDownloadItem(const DownloadItem& item, Json::Value* node) {
  return SetJson(item.sourceUri, node, "sourceUri") && SetJson(item.to, node, "to");
}

bool SaveUploadItem(const UploadItem& item, Json::Value* node) {
  return SetJson(item.pattern, node, "pattern");
}

bool SavePostItem(const PostItem& item, Json::Value* node) {
  return SetJson(item.name, node, "name") && SetJson(item.value, node, "value");
}

}  // namespace

bool LoadRecord(DownloadInput& record, Json::Value* node, const char* path) {
  return Serializer(node).Group(path, [&](const Serializer& root) {
    root.OptionalField(record.jobId, "jobId");
    return root.Field(record.timeout, "timeout") &&
           root.List(record.items, "items", LoadDownloadItem) &&
           root.Group("centralizedStorage",
                      [&](const Serializer& storage) {
                        return storage.Field(record.profile, "profile");
                      }) &&
           root.JsonTextField(record.runContext, "runContext") &&
           root.Field(record.streamId, "streamId");
  });
}

bool LoadRecord(UploadArchiveInput& record, Json::Value* node, const char* path) {
  return Serializer(node).Group(path, [&](const Serializer& root) {
    root.OptionalField(record.jobId, "jobId");
    return root.Field(record.name, "name") && root.Field(record.password, "password") &&
           root.Field(record.timeout, "timeout") && root.Field(record.streamId, "streamId") &&
           root.List(record.items, "items", LoadUploadItem) &&
           root.Group("centralizedStorage",
                      [&](const Serializer& storage) {
                        return storage.Field(record.profile, "profile") &&
                               storage.List(record.postItems, "postItems", LoadPostItem);
                      }) &&
           root.JsonTextField(record.runContext, "runContext");
  });
}

bool LoadRecord(ProcessExecutionInput& record, Json::Value* node, const char* path) {
  return Serializer(node).Group(path, [&](const Serializer& root) {
    return root.Field(record.commandLine, "execute\\commandLine") &&
           root.Field(record.timeout, "execute\\timeout") &&
           root.Field(record.outputPath, "execute\\outputPath") &&
           root.Field(record.workingDir, "execute\\workingDir") &&
           root.JsonTextField(record.runContext, "runContext");
  });
}

bool SaveRecord(const DownloadInput& record, Json::Value* node) {
  return SetJson(record.timeout, node, "timeout") &&
         SaveJsonList(record.items, node, "items", SaveDownloadItem) &&
         SetJson(record.profile, node, "centralizedStorage\\profile") &&
         SetJsonText(record.runContext, node, "runContext") &&
         SetJson(record.jobId, node, "jobId") && SetJson(record.streamId, node, "streamId");
}

bool SaveRecord(const UploadArchiveInput& record, Json::Value* node) {
  return SetJson(record.jobId, node, "jobId") && SetJson(record.name, node, "name") &&
         SetJson(record.password, node, "password") && SetJson(record.timeout, node, "timeout") &&
         SetJson(record.streamId, node, "streamId") &&
         SaveJsonList(record.items, node, "items", SaveUploadItem) &&
         SetJson(record.profile, node, "centralizedStorage\\profile") &&
         SaveJsonList(record.postItems, node, "centralizedStorage\\postItems", SavePostItem) &&
         SetJsonText(record.runContext, node, "runContext");
}

bool SaveRecord(const ProcessExecutionInput& record, Json::Value* node) {
  return SetJson(record.commandLine, node, "execute\\commandLine") &&
         SetJson(record.timeout, node, "execute\\timeout") &&
         SetJson(record.outputPath, node, "execute\\outputPath") &&
         SetJson(record.workingDir, node, "execute\\workingDir") &&
         SetJsonText(record.runContext, node, "runContext");
}

bool LoadRecord(OperationResponse& record, Json::Value* node, const char* path) {
  return Serializer(node).Group(path, [&](const Serializer& root) {
    return root.Field(record.message, "message") &&
           root.JsonTextField(record.runContext, "runContext") && root.Field(record.jobId, "jobId");
  });
}

bool LoadRecordWithStatus(ProcessExecutionResponse& record, Json::Value* node, const char* path) {
  return Serializer(node).Group(path, [&](const Serializer& root) {
    return root.Field(record.status, "error") && root.Field(record.pid, "pid") &&
           root.JsonTextField(record.runContext, "runContext");
  });
}

bool SaveRecord(const OperationResponse& record, Json::Value* node) {
  return SetJson(record.message, node, "message") &&
         SetJsonText(record.runContext, node, "runContext") && SetJson(record.jobId, node, "jobId");
}

bool SaveRecord(const ProcessExecutionResponse& record, Json::Value* node) {
  return SetJson(record.pid, node, "pid") && SetJsonText(record.runContext, node, "runContext");
}

bool SaveRecordWithStatus(const ProcessExecutionResponse& record, Json::Value* node) {
  return SetJson(record.status, node, "error") && SaveRecord(record, node);
}

}  // namespace orn::RemoteAccess
