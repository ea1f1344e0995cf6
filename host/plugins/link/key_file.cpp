#include "host/plugins/link/key_file.h"

#include "module/frame/handle.h"
#include "module/frame/windows.h"

namespace host::link {

std::optional<std::wstring> ReadKeyFile(const std::wstring& path) {
  const orn::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                         FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr));
  char bytes[1024];
  DWORD count = 0;
  if (!file || !ReadFile(file.get(), bytes, sizeof(bytes), &count, /*lpOverlapped=*/nullptr)) {
    return std::nullopt;
  }
  std::wstring key;
  for (DWORD i = 0; i < count; ++i) {
    const char byte = bytes[i];
    if (byte == ' ' || byte == '\r' || byte == '\n') continue;
    // Anything else would be a way to smuggle in a header.
    if (byte < '!' || byte > '~') return std::nullopt;
    key += static_cast<wchar_t>(byte);
  }
  SecureZeroMemory(bytes, sizeof(bytes));
  if (key.empty()) return std::nullopt;
  return key;
}

}  // namespace host::link
