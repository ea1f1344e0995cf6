#include "host/compressor/entry_names.h"

#include <string_view>

#include "module/frame/path.h"
#include "module/frame/windows.h"

namespace host {
namespace {

std::wstring Cleaned(std::wstring_view name) {
  orn::StringT<wchar_t> path(L"\\");  // Nothing leads above a root.
  orn::AppendPath(path, name);
  orn::NormalizePath(path);
  std::wstring cleaned(path.view().substr(1));
  if (cleaned.ends_with(L'\\')) cleaned.pop_back();
  constexpr std::wstring_view kNotInNames = L"<>:\"|?*";
  for (wchar_t& c : cleaned) {
    if (c == L'\\') {
      c = L'/';
    } else if (c < L' ' || kNotInNames.find(c) != std::wstring_view::npos) {
      c = L'_';
    }
  }
  return cleaned;
}

std::wstring Folded(std::wstring name) {
  CharUpperBuffW(name.data(), static_cast<DWORD>(name.size()));
  return name;
}

size_t StartOfExtension(const std::wstring& name) {
  const size_t slash = name.rfind(L'/');
  const size_t start = slash == std::wstring::npos ? 0 : slash + 1;
  const size_t dot = name.rfind(L'.');
  // The dot in front of a whole name begins no extension.
  return dot == std::wstring::npos || dot <= start ? name.size() : dot;
}

}  // namespace

std::wstring EntryNames::Add(std::wstring_view name) {
  std::wstring wanted = Cleaned(name);
  if (wanted.empty()) return wanted;

  const std::wstring folded = Folded(wanted);
  const auto [first, is_new] = used_.try_emplace(folded, 1);
  if (is_new) return wanted;
  const size_t extension = StartOfExtension(wanted);
  for (;;) {
    std::wstring numbered = wanted;
    numbered.insert(extension, L" (" + std::to_wstring(++used_[folded]) + L")");
    if (used_.try_emplace(Folded(numbered), 1).second) return numbered;
  }
}

}  // namespace host
