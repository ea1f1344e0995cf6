#include "module/frame/long_path.h"

#include "module/frame/windows.h"

namespace orn {

std::wstring LongPath(std::wstring_view path) {
  // Less than MAX_PATH: folders must leave room for a file's short name.
  constexpr size_t kShortEnough = MAX_PATH - 13;
  constexpr std::wstring_view kPrefix = L"\\\\?\\";
  if (path.size() <= kShortEnough || path.starts_with(kPrefix)) return std::wstring(path);

  // Behind the prefix nothing is resolved any more.
  const std::wstring given(path);
  std::wstring full(GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(GetFullPathNameW(given.c_str(), static_cast<DWORD>(full.size()), full.data(),
                               /*filePart=*/nullptr));
  constexpr std::wstring_view kShare = L"\\\\";
  if (full.starts_with(kShare)) return L"\\\\?\\UNC" + full.substr(1);
  return std::wstring(kPrefix) + full;
}

}  // namespace orn
