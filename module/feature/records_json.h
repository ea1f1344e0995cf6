#pragma once

#include <json/value.h>

#include "module/feature/records.h"

// The JSON form of the records: what the policy methods take and the events carry.
//
// A load takes the node, which may be null, and the path below it at which the record lies. It
// reads all members in a fixed order and is false at the first that is absent, null or of a wrong
// type, after a log line that names it; the record then holds what was read by then. Only "jobId"
// may be absent. Groups that are absent are made in the input, as null.
//
// A save writes into the node, stops at the first member that cannot be written and is false then;
// what was written stays.

namespace orn::RemoteAccess {

bool LoadRecord(DownloadInput& record, Json::Value* node, const char* path = "");
bool LoadRecord(UploadArchiveInput& record, Json::Value* node, const char* path = "");
bool LoadRecord(ProcessExecutionInput& record, Json::Value* node, const char* path = "");

bool SaveRecord(const OperationResponse& record, Json::Value* node);
bool SaveRecord(const ProcessExecutionResponse& record, Json::Value* node);
bool SaveRecord(const DownloadMetadata& record, Json::Value* node);
bool SaveRecord(const UploadArchiveMetadata& record, Json::Value* node);
bool SaveRecord(const ProcessExecutionMetadata& record, Json::Value* node);

}  // namespace orn::RemoteAccess
