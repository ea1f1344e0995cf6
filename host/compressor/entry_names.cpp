#include "host/compressor/entry_names.h"

#include <algorithm>

#include "module/frame/windows.h"

namespace host {
namespace {

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
  std::wstring wanted(name);
  std::replace(wanted.begin(), wanted.end(), L'\\', L'/');
  wanted.erase(0, wanted.find_first_not_of(L'/'));
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
