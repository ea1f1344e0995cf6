#pragma once

#include <cstdint>
#include <string>

// How transfers fail: Windows' own codes, and the words that people read.

namespace host::storage {

inline constexpr uint32_t kAborted = 1223;      // ERROR_CANCELLED
inline constexpr uint32_t kTooLarge = 223;      // ERROR_FILE_TOO_LARGE
inline constexpr uint32_t kDiskFull = 112;      // ERROR_DISK_FULL
inline constexpr uint32_t kInvalidData = 13;    // ERROR_INVALID_DATA
inline constexpr uint32_t kRelativePath = 267;  // ERROR_DIRECTORY
inline constexpr uint32_t kStalled = 12002;     // ERROR_WINHTTP_TIMEOUT
inline constexpr uint32_t kBrokenOff = 12030;   // ERROR_WINHTTP_CONNECTION_ERROR
inline constexpr uint32_t kRedirected = 12156;  // ERROR_WINHTTP_REDIRECT_FAILED

// The code for an HTTP status other than those of success.
uint32_t CodeOfStatus(int32_t status);

// The code for a failed operation of the HTTP library.
uint32_t CodeOfFailure(uint32_t failure);

// Whether another attempt may go better: the network failed, not the storage's answer.
bool IsConnectionFailure(uint32_t code);

// What the code means to a person, in a few words.
std::wstring WordOf(uint32_t code);

// The same, with the storage's HTTP status where that is what failed; 0 for none.
std::wstring WordOf(uint32_t code, int32_t status);

}  // namespace host::storage
