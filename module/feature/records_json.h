#pragma once

#include <json/value.h>

#include <vector>

#include "module/feature/records.h"

// The JSON form of the records: what the policy methods take, the events carry, and what the calls
// between the agent's processes carry as text.
//
// A load takes the node, which may be null, and the path below it at which the record lies. It
// reads all members in a fixed order and is false at the first that is absent, null or of a wrong
// type, after a log line that names it; the record then holds what was read by then. Of an
// input only "jobId" may be absent. Groups that are absent are made in the input, as null.
//
// A save writes into the node, stops at the first member that cannot be written and is false then;
// what was written stays.

namespace orn::RemoteAccess {

// Inputs.
bool LoadRecord(DownloadInput& record, Json::Value* node, const char* path = "");
bool LoadRecord(UploadArchiveInput& record, Json::Value* node, const char* path = "");
bool LoadRecord(ProcessExecutionInput& record, Json::Value* node, const char* path = "");
bool SaveRecord(const DownloadInput& record, Json::Value* node);
bool SaveRecord(const UploadArchiveInput& record, Json::Value* node);
bool SaveRecord(const ProcessExecutionInput& record, Json::Value* node);

// Answers. The `status` of a process's start is in neither form but where it says so, as "error".
bool LoadRecord(OperationResponse& record, Json::Value* node, const char* path = "");
bool LoadRecordWithStatus(ProcessExecutionResponse& record, Json::Value* node,
                          const char* path = "");
bool SaveRecord(const OperationResponse& record, Json::Value* node);
bool SaveRecord(const ProcessExecutionResponse& record, Json::Value* node);
bool SaveRecordWithStatus(const ProcessExecutionResponse& record, Json::Value* node);

// Reports. In each all members are wanted, but the body of a storage's response.
bool LoadRecord(DownloadMetadata& record, Json::Value* node, const char* path = "");
bool LoadRecord(UploadArchiveMetadata& record, Json::Value* node, const char* path = "");
bool LoadRecord(ProcessExecutionMetadata& record, Json::Value* node, const char* path = "");
bool LoadRecord(TerminalSessionState& record, Json::Value* node, const char* path = "");
bool SaveRecord(const DownloadMetadata& record, Json::Value* node);
bool SaveRecord(const UploadArchiveMetadata& record, Json::Value* node);
bool SaveRecord(const ProcessExecutionMetadata& record, Json::Value* node);
bool SaveRecord(const TerminalSessionState& record, Json::Value* node);

// An array of records. A load that fails leaves the list empty.
bool LoadRecords(std::vector<TerminalSessionState>& records, Json::Value* node, const char* path);
bool SaveRecords(const std::vector<TerminalSessionState>& records, Json::Value* node,
                 const char* path);

}  // namespace orn::RemoteAccess
