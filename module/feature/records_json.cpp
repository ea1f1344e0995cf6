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

bool SaveRecord(const OperationResponse& record, Json::Value* node) {
  return SetJson(record.message, node, "message") &&
         SetJsonText(record.runContext, node, "runContext") && SetJson(record.jobId, node, "jobId");
}

bool SaveRecord(const ProcessExecutionResponse& record, Json::Value* node) {
  return SetJson(record.pid, node, "pid") && SetJsonText(record.runContext, node, "runContext");
}

}  // namespace orn::RemoteAccess
