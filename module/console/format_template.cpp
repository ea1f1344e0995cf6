#include "module/console/format_template.h"

#include <array>
#include <string>

#include "module/frame/windows.h"

namespace orn::RemoteAccess::Console {

StringT<wchar_t> FormatTemplate(const StringT<wchar_t>& pattern,
                                std::span<const StringT<wchar_t>> arguments) {
  std::wstring source(pattern.view());
  std::erase_if(source, [](wchar_t c) { return c == L'[' || c == L']'; });

  // As many as a pattern can name: one that names too many is not to read behind the end.
  std::array<DWORD_PTR, 99> values{};
  for (size_t i = 0; i < arguments.size(); ++i)
    values.at(i) = reinterpret_cast<DWORD_PTR>(arguments[i].c_str());

  wchar_t* buffer = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY | FORMAT_MESSAGE_ALLOCATE_BUFFER,
      source.c_str(), /*dwMessageId=*/0, /*dwLanguageId=*/0, reinterpret_cast<wchar_t*>(&buffer),
      /*nSize=*/0, reinterpret_cast<va_list*>(values.data()));
  if (length == 0 || buffer == nullptr) return {};
  const StringT<wchar_t> text(buffer, length);
  LocalFree(buffer);
  return text;
}

}  // namespace orn::RemoteAccess::Console
