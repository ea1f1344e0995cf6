#pragma once

#include <cstdint>

#include "module/frame/string.h"

// The words for the codes that file jobs answer with; "N/A" for a code that has none.

namespace orn::RemoteAccess {

// Of starts and cancels.
StringT<wchar_t> DownloadReason(uint32_t code);
StringT<wchar_t> UploadReason(uint32_t code);
StringT<wchar_t> CancelReason(uint32_t code);

// Of what became of one item of an archive.
StringT<wchar_t> ItemError(uint32_t code);

}  // namespace orn::RemoteAccess
