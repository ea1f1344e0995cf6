#pragma once

#include <string_view>

#include "module/frame/string.h"

namespace orn {

// Between UTF-8 and UTF-16. Bytes that are no UTF-8 and lone surrogates become U+FFFD; a conversion
// that fails gives the empty text. Any thread.
StringT<wchar_t> ToWide(std::string_view utf8);
StringT<char> ToUtf8(std::wstring_view utf16);

}  // namespace orn
