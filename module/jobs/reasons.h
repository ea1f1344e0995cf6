#pragma once

#include <cstdint>

#include "module/frame/string.h"

// The words for the codes that starts and cancels of file jobs answer with; "N/A" for a code that
// has none.

namespace orn::RemoteAccess {

StringT<wchar_t> DownloadReason(uint32_t code);
StringT<wchar_t> UploadReason(uint32_t code);
StringT<wchar_t> CancelReason(uint32_t code);

}  // namespace orn::RemoteAccess
