#pragma once

#include <cstdint>

#include "module/frame/string.h"

namespace orn::RemoteAccess::Console {

// Day, month and time of day as the person at the machine reads them, in local time: "3 May,
// 09:05". `time` is in seconds since 1970. Empty for 0 and for what is no time.
StringT<wchar_t> FormatDate(int64_t time);

}  // namespace orn::RemoteAccess::Console
