#include "host/plugins/link/key_file.h"

#include <algorithm>
#include <string_view>

#include "module/frame/handle.h"
#include "module/frame/scope_guard.h"
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
  const orn::ScopeGuard forget([&bytes] { SecureZeroMemory(bytes, sizeof(bytes)); });
  constexpr const char* kBlanks = " \t\r\n";
  std::string_view word(bytes, count);
  word.remove_prefix(std::min(word.find_first_not_of(kBlanks), word.size()));
  word = word.substr(0, word.find_last_not_of(kBlanks) + 1);
  // Anything else would be a way to smuggle in a header.
  const bool is_word =
      !word.empty() && std::ranges::all_of(word, [](char c) { return c >= '!' && c <= '~'; });
  if (!is_word || count == sizeof(bytes)) return std::nullopt;
  return std::wstring(word.begin(), word.end());
}

}  // namespace host::link
