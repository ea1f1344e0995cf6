#include "host/common/file_path.h"

#include "module/frame/utf.h"
#include "module/frame/windows.h"

#include <shlwapi.h>

namespace host {

std::wstring WideText(std::string_view utf8) {
  return std::wstring(orn::ToWide(utf8).view());
}

std::wstring FolderOf(std::wstring_view path) {
  const size_t end = path.find_last_of(L"\\/");
  return std::wstring(path.substr(0, end == std::wstring_view::npos ? 0 : end));
}

std::wstring AbsolutePath(std::wstring_view folder, std::wstring_view path) {
  std::wstring joined(path);
  if (path.empty()) return joined;
  if (PathIsRelativeW(joined.c_str())) {
    joined = std::wstring(folder) + L'\\' + joined;
  }
  std::wstring full(GetFullPathNameW(joined.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(GetFullPathNameW(joined.c_str(), static_cast<DWORD>(full.size()), full.data(),
                               /*filePart=*/nullptr));
  return full;
}

std::wstring ConfiguredPath(std::wstring_view folder, const std::wstring& path) {
  std::wstring expanded(ExpandEnvironmentStringsW(path.c_str(), nullptr, 0), L'\0');
  const DWORD size =
      ExpandEnvironmentStringsW(path.c_str(), expanded.data(), static_cast<DWORD>(expanded.size()));
  expanded.resize(size > 0 ? size - 1 : 0);
  return AbsolutePath(folder, expanded);
}

std::wstring ProgramPath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(2 * path.size());
  }
}

}  // namespace host
