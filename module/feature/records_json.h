#pragma once

#include <json/value.h>

#include "module/feature/records.h"

// The JSON form of the records: what the policy methods take and the events carry.
//
// A load takes a cursor, the node that holds the record, which may be null. It reads all required
// members, in the order written there, and is false at the first that is absent, null or of a wrong
// type, after a log line that names it; the record then holds what was read by then. Loads of
// nested groups make absent members of the input, as null. "jobId" may be absent.
//
// A save writes into the node, stops at the first member that cannot be written and is false then;
// what was written stays.

namespace orn::RemoteAccess {

bool LoadRecord(DownloadInput& record, Json::Value* node);
bool LoadRecord(UploadArchiveInput& record, Json::Value* node);
bool LoadRecord(ProcessExecutionInput& record, Json::Value* node);

bool SaveRecord(const OperationResponse& record, Json::Value* node);
bool SaveRecord(const ProcessExecutionResponse& record, Json::Value* node);
bool SaveRecord(const DownloadMetadata& record, Json::Value* node);
bool SaveRecord(const UploadArchiveMetadata& record, Json::Value* node);
bool SaveRecord(const ProcessExecutionMetadata& record, Json::Value* node);

}  // namespace orn::RemoteAccess
