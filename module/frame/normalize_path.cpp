#include <algorithm>
#include <string>
#include <vector>

#include "module/frame/path.h"

namespace orn {
namespace {

constexpr std::wstring_view kSeparators = L"\\/";

bool IsSeparator(wchar_t c) {
  return c == L'\\' || c == L'/';
}

// What names the volume at the beginning: `C:`, `\\server`, and of a device path the three
// characters in front of its separator.
size_t RootNameLength(std::wstring_view path) {
  const auto is_separator_at = [&](size_t at) { return at < path.size() && IsSeparator(path[at]); };
  const auto is_letter = [](wchar_t c) {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
  };
  if (path.size() < 2) return 0;
  if (path[1] == L':' && is_letter(path[0])) return 2;
  if (!IsSeparator(path[0])) return 0;
  if (is_separator_at(3) && !is_separator_at(4)) {
    if (is_separator_at(1) && (path[2] == L'?' || path[2] == L'.')) return 3;
    if (path[1] == L'?' && path[2] == L'?') return 3;
  }
  if (!is_separator_at(1) || path.size() < 3 || is_separator_at(2)) return 0;
  return std::min(path.find_first_of(kSeparators, 3), path.size());
}

}  // namespace

void NormalizePath(StringT<wchar_t>& path) {
  if (path.empty()) return;
  const std::wstring_view text = path.view();
  const size_t root_length = RootNameLength(text);
  const bool has_root_folder = root_length < text.size() && IsSeparator(text[root_length]);

  std::vector<std::wstring_view> names;
  bool ends_in_folder = false;  // in a separator, or in a name that went
  for (size_t start = root_length; start <= text.size();) {
    const size_t end = std::min(text.find_first_of(kSeparators, start), text.size());
    const std::wstring_view name = text.substr(start, end - start);
    start = end + 1;
    ends_in_folder = true;
    if (name.empty() || name == L".") continue;
    if (name != L"..") {
      names.push_back(name);
      ends_in_folder = false;
    } else if (!names.empty() && names.back() != L"..") {
      names.pop_back();
    } else if (!has_root_folder) {
      names.push_back(name);
    }
  }

  std::wstring normal(text.substr(0, root_length));
  std::replace(normal.begin(), normal.end(), L'/', L'\\');
  if (has_root_folder) normal += L'\\';
  for (size_t i = 0; i < names.size(); ++i) {
    if (i != 0) normal += L'\\';
    normal += names[i];
  }
  if (ends_in_folder && !names.empty() && names.back() != L"..") normal += L'\\';
  path = normal.empty() ? std::wstring_view(L".") : std::wstring_view(normal);
}

}  // namespace orn
