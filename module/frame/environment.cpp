#include "module/frame/environment.h"

#include <cstdlib>
#include <string_view>

namespace orn {
namespace {

constexpr std::wstring_view kNewName = L"Path=";

// The names of environment variables that matter here are ASCII, whatever the locale.
bool IsPathEntry(std::wstring_view entry) {
  constexpr std::wstring_view kName = L"path=";
  if (entry.size() < kName.size()) return false;
  for (size_t i = 0; i < kName.size(); ++i) {
    const wchar_t c = entry[i] >= L'A' && entry[i] <= L'Z' ? entry[i] - L'A' + L'a' : entry[i];
    if (c != kName[i]) return false;
  }
  return true;
}

template <class Action>
void ForEachEntry(const wchar_t* block, Action action) {
  while (*block != L'\0') {
    const std::wstring_view entry(block);
    action(entry);
    block += entry.size() + 1;
  }
}

}  // namespace

wchar_t* BuildBlockWithPath(const wchar_t* block, const wchar_t* path, size_t& replaced) {
  const std::wstring_view value(path);
  replaced = 0;
  size_t size = 1;  // The empty entry that ends the block.
  ForEachEntry(block, [&](std::wstring_view entry) {
    const bool is_path = IsPathEntry(entry);
    if (is_path) ++replaced;
    size += (is_path ? kNewName.size() + value.size() : entry.size()) + 1;
  });

  auto* const result = static_cast<wchar_t*>(std::calloc(size, sizeof(wchar_t)));
  if (result == nullptr) return nullptr;
  wchar_t* at = result;
  const auto put = [&](std::wstring_view text) { at += text.copy(at, text.size()); };
  ForEachEntry(block, [&](std::wstring_view entry) {
    if (IsPathEntry(entry)) {
      put(kNewName);
      put(value);
    } else {
      put(entry);
    }
    ++at;  // Past the zero that is there already.
  });
  return result;
}

}  // namespace orn
