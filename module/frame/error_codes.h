#pragma once

#include <cstdint>

// The Windows error codes that have a fixed meaning in this system. Operations return them as
// 32-bit numbers, 0 for success; they are written out here so that code which needs nothing of
// Windows can use them.
namespace error {

inline constexpr uint32_t kSuccess = 0;
inline constexpr uint32_t kPathNotFound = 2;
inline constexpr uint32_t kForeignModule = 3;
inline constexpr uint32_t kDenied = 5;
inline constexpr uint32_t kInvalidHandle = 6;
inline constexpr uint32_t kNotEnoughMemory = 8;
inline constexpr uint32_t kInvalidData = 13;
inline constexpr uint32_t kNotReady = 21;
inline constexpr uint32_t kNotSupported = 50;
inline constexpr uint32_t kBadParameter = 87;
inline constexpr uint32_t kInvalidName = 123;
inline constexpr uint32_t kBadArguments = 160;
inline constexpr uint32_t kBadPathName = 161;
inline constexpr uint32_t kBusy = 170;
inline constexpr uint32_t kAlreadyExists = 183;
inline constexpr uint32_t kVariableNotFound = 203;
inline constexpr uint32_t kSizeLimit = 223;
inline constexpr uint32_t kEmptyDirectory = 232;
inline constexpr uint32_t kRelativePath = 267;
inline constexpr uint32_t kAccessDenied = 313;
inline constexpr uint32_t kUnknownMethod = 632;
inline constexpr uint32_t kNotProcessed = 995;
inline constexpr uint32_t kIncomplete = 996;
inline constexpr uint32_t kNotFound = 1168;
inline constexpr uint32_t kAborted = 1223;
inline constexpr uint32_t kConnectionInvalid = 1229;
inline constexpr uint32_t kHostStopped = 1232;
inline constexpr uint32_t kDisabled = 1260;
inline constexpr uint32_t kInternal = 1359;
inline constexpr uint32_t kJobIdInUse = 1375;
inline constexpr uint32_t kTimeout = 1460;
inline constexpr uint32_t kFailed = 1627;
inline constexpr uint32_t kCompressFailed = 1631;
inline constexpr uint32_t kInvalidTimeout = 1901;
inline constexpr uint32_t kNotConnected = 2250;
inline constexpr uint32_t kEmptyInput = 4306;
inline constexpr uint32_t kInvalidOperation = 4317;
inline constexpr uint32_t kMissingDependency = 5002;
inline constexpr uint32_t kNotAdded = 5023;
inline constexpr uint32_t kJobIdTooLong = 8348;
inline constexpr uint32_t kPackingFailed = 15616;
// COM's code for a face that an object does not have.
inline constexpr uint32_t kNoInterface = 0x80004002;

}  // namespace error
