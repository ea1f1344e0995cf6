#pragma once

#include <cstdint>
#include <string>

#include "host/history/history_record.h"

namespace host::history {

// The last record of each store, in the registry under HKLM\Software\Tessaro\History, where
// everybody may read and administrators write: a value named by the store's full path in small
// letters, "SEQUENCE HASH". A store whose end was cut off, or which was written anew as a whole, is
// told by it. Any thread.

// False where there is none that can be read.
bool ReadAnchor(const std::wstring& path, HistoryHead& head);

// On the disk when it returns 0.
uint32_t WriteAnchor(const std::wstring& path, const HistoryHead& head);

// For a store that is no more.
void RemoveAnchor(const std::wstring& path);

}  // namespace host::history
