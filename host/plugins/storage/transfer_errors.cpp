#include "host/plugins/storage/transfer_errors.h"

#include "module/frame/error_codes.h"
#include "module/frame/windows.h"

#include <winhttp.h>

namespace host::storage {

uint32_t CodeOfStatus(int32_t status) {
  switch (status) {
    case 400:
      return error::kBadParameter;
    case 401:
    case 403:
    case 407:
      return error::kDenied;
    case 404:
    case 410:
      return error::kPathNotFound;
    case 408:
    case 504:
      return error::kTimeout;
    case 409:
      return error::kAlreadyExists;
    case 413:
      return kTooLarge;
    case 416:
      return kInvalidData;
    case 429:
    case 503:
      return error::kBusy;
    case 507:
      return kDiskFull;
    default:
      // A success that none of the calls expects is no answer to them.
      return status < 300 ? kInvalidData : status < 400 ? kRedirected : error::kFailed;
  }
}

uint32_t CodeOfFailure(uint32_t failure) {
  switch (failure) {
    case 0:
      return kBrokenOff;
    case ERROR_WINHTTP_INVALID_SERVER_RESPONSE:
    case ERROR_WINHTTP_INVALID_HEADER:
    case ERROR_WINHTTP_HEADER_COUNT_EXCEEDED:
    case ERROR_WINHTTP_HEADER_SIZE_OVERFLOW:
    case ERROR_WINHTTP_CHUNKED_ENCODING_HEADER_SIZE_OVERFLOW:
    case ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW:
      return kInvalidData;
    // Some come as the sockets' own codes.
    case WSAETIMEDOUT:
      return kStalled;
    case WSAECONNREFUSED:
    case WSAEHOSTUNREACH:
    case WSAENETUNREACH:
      return ERROR_WINHTTP_CANNOT_CONNECT;
    case WSAECONNABORTED:
    case WSAECONNRESET:
    case WSAESHUTDOWN:
    case ERROR_NETNAME_DELETED:
      return kBrokenOff;
    default:
      return failure;
  }
}

bool IsConnectionFailure(uint32_t code) {
  return code == kStalled || code == kBrokenOff || code == ERROR_WINHTTP_CANNOT_CONNECT ||
         code == ERROR_WINHTTP_NAME_NOT_RESOLVED;
}

std::wstring WordOf(uint32_t code) {
  switch (code) {
    case 0:
      return L"success";
    case error::kPathNotFound:
      return L"not found";
    case ERROR_PATH_NOT_FOUND:
      return L"folder not found";
    case error::kDenied:
      return L"access denied";
    case error::kNotEnoughMemory:
    case kDiskFull:
    case ERROR_HANDLE_DISK_FULL:
      return L"not enough disk space";
    case kInvalidData:
      return L"the answer of the storage is damaged";
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return L"the file is in use";
    case error::kBadParameter:
      return L"the storage does not understand the request";
    case error::kInvalidName:
      return L"invalid name";
    case error::kBusy:
      return L"the storage is busy";
    case error::kAlreadyExists:
      return L"already there";
    case kTooLarge:
      return L"too large";
    case kRelativePath:
      return L"relative path";
    case kAborted:
      return L"aborted";
    case error::kTimeout:
      return L"timeout";
    case error::kFailed:
      return L"the storage failed";
    case kStalled:
      return L"the storage does not answer";
    case ERROR_WINHTTP_NAME_NOT_RESOLVED:
      return L"the storage's name is not known";
    case ERROR_WINHTTP_CANNOT_CONNECT:
      return L"the storage cannot be reached";
    case kBrokenOff:
      return L"the connection broke off";
    case kRedirected:
      return L"redirected to another server";
    case ERROR_WINHTTP_SECURE_FAILURE:
      return L"the storage's certificate is not trusted";
    default:
      return L"error " + std::to_wstring(code);
  }
}

std::wstring WordOf(uint32_t code, int32_t status) {
  const bool is_status = status >= 300 && CodeOfStatus(status) == code;
  return WordOf(code) + (is_status ? L" (HTTP " + std::to_wstring(status) + L")" : L"");
}

}  // namespace host::storage
