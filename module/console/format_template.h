#pragma once

#include <span>

#include "module/frame/string.h"

namespace orn::RemoteAccess::Console {

// `pattern` with its %1, %2, ... replaced by the arguments, in FormatMessage's form. Brackets of
// the pattern go: they show translators what belongs together. Empty where it cannot be formatted.
StringT<wchar_t> FormatTemplate(const StringT<wchar_t>& pattern,
                                std::span<const StringT<wchar_t>> arguments);

}  // namespace orn::RemoteAccess::Console
