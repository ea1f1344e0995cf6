#include "module/frame/utf.h"

#include <limits>

#include "module/frame/windows.h"

namespace orn {
namespace {

// `convert(to, capacity)` converts, and with a capacity of 0 gives the size needed; 0 is a failure.
template <class To, class Convert>
StringT<To> SizeAndConvert(size_t from_length, Convert convert) {
  StringT<To> result;
  if (from_length == 0 || from_length > std::numeric_limits<int>::max()) return result;
  const int needed = convert(nullptr, 0);
  if (needed <= 0) return result;
  result.reserve(static_cast<size_t>(needed));
  if (convert(result.data(), needed) == needed) result.UpdateLength(static_cast<size_t>(needed));
  return result;
}

}  // namespace

StringT<wchar_t> ToWide(std::string_view utf8) {
  return SizeAndConvert<wchar_t>(utf8.size(), [&](wchar_t* to, int capacity) {
    return MultiByteToWideChar(CP_UTF8, /*flags=*/0, utf8.data(), static_cast<int>(utf8.size()), to,
                               capacity);
  });
}

StringT<char> ToUtf8(std::wstring_view utf16) {
  return SizeAndConvert<char>(utf16.size(), [&](char* to, int capacity) {
    return WideCharToMultiByte(CP_UTF8, /*flags=*/0, utf16.data(), static_cast<int>(utf16.size()),
                               to, capacity, /*defaultChar=*/nullptr, /*usedDefaultChar=*/nullptr);
  });
}

}  // namespace orn
