#include "host/plugins/link/server_address.h"

#include <algorithm>

#include "module/frame/utf.h"
#include "module/frame/windows.h"

#include <winhttp.h>

namespace host::link {

namespace {

constexpr size_t kLongestName = 255;

bool IsAsciiAlphanumeric(wchar_t c) {
  return (c >= L'0' && c <= L'9') || (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
}

}  // namespace

bool ServerAddress::IsLoopback() const {
  return host == L"localhost" || host == L"[::1]" || host == L"::1" || host.starts_with(L"127.");
}

std::optional<ServerAddress> ParseServerAddress(std::wstring_view url, std::wstring_view door) {
  ServerAddress address;
  address.secure = url.starts_with(L"wss://");
  if (!address.secure && !url.starts_with(L"ws://")) return std::nullopt;
  // The library splits only the names of HTTP, which differ from these by their first letters.
  const std::wstring http = L"http" + std::wstring(url.substr(2));
  URL_COMPONENTS parts = {};
  parts.dwStructSize = sizeof(parts);
  parts.dwHostNameLength = parts.dwUrlPathLength = parts.dwExtraInfoLength = static_cast<DWORD>(-1);
  parts.dwUserNameLength = static_cast<DWORD>(-1);
  if (!WinHttpCrackUrl(http.c_str(), static_cast<DWORD>(http.size()), /*dwFlags=*/0, &parts) ||
      parts.dwHostNameLength == 0 || parts.dwUserNameLength != 0) {
    return std::nullopt;
  }
  address.host.assign(parts.lpszHostName, parts.dwHostNameLength);
  address.port = parts.nPort;
  address.path.assign(parts.lpszUrlPath, parts.dwUrlPathLength);
  address.path.append(parts.lpszExtraInfo, parts.dwExtraInfoLength);
  if (address.path.empty() || address.path == L"/") address.path = door;
  return address;
}

bool IsMachineId(std::wstring_view id) {
  return id.size() >= 8 && id.size() <= 64 && std::all_of(id.begin(), id.end(), [](wchar_t c) {
           return c == L'-' || IsAsciiAlphanumeric(c);
         });
}

std::wstring EncodePercent(std::string_view utf8) {
  constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
  std::wstring encoded;
  for (const char byte : utf8) {
    const auto value = static_cast<unsigned char>(byte);
    if (IsAsciiAlphanumeric(value) || value == '-' || value == '.' || value == '_') {
      encoded += static_cast<wchar_t>(value);
    } else {
      encoded += L'%';
      encoded += kDigits[value >> 4];
      encoded += kDigits[value & 15];
    }
  }
  return encoded;
}

std::wstring EncodeMachineName(std::wstring_view name) {
  const orn::StringT<char> utf8 = orn::ToUtf8(name);
  std::string_view bytes = utf8.view();
  if (bytes.size() > kLongestName) {
    size_t end = kLongestName;
    while (end > 0 && (static_cast<unsigned char>(bytes[end]) & 0xC0) == 0x80)
      --end;
    bytes = bytes.substr(0, end);
  }
  return EncodePercent(bytes);
}

}  // namespace host::link
