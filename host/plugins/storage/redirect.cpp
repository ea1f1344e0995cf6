#include "host/plugins/storage/redirect.h"

#include "host/plugins/storage/profiles.h"
#include "module/frame/windows.h"

#include <shlwapi.h>

namespace host::storage {

namespace {

constexpr DWORD kLongestUrl = 4096;

}  // namespace

bool IsRedirect(int32_t status) {
  return status == 301 || status == 302 || status == 303 || IsRedirectOfAnyMethod(status);
}

bool IsRedirectOfAnyMethod(int32_t status) {
  return status == 307 || status == 308;
}

std::optional<link::ServerAddress> FollowRedirect(const link::ServerAddress& from,
                                                  const std::wstring& location) {
  if (location.empty()) return std::nullopt;
  wchar_t url[kLongestUrl];
  DWORD length = kLongestUrl;
  if (UrlCombineW(HttpAddressText(from).c_str(), location.substr(0, location.find(L'#')).c_str(),
                  url, &length, /*dwFlags=*/0) != S_OK) {
    return std::nullopt;
  }
  auto to = ParseHttpAddress(url);
  const bool is_same = to && to->secure == from.secure && to->port == from.port &&
                       CompareStringOrdinal(to->host.c_str(), -1, from.host.c_str(), -1,
                                            /*bIgnoreCase=*/TRUE) == CSTR_EQUAL;
  return is_same ? to : std::nullopt;
}

}  // namespace host::storage
