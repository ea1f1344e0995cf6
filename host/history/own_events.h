#pragma once

#include <string_view>

#include "host/history/history_record.h"

// The records that the history writes about itself. Their values have the keys that the module's
// records have: 0 the event, 1 its version, 0.

namespace host::history {

inline constexpr wchar_t kOwnFeature[] = L"History";

enum class OwnEvent {
  kSetAside = 0,       // Key 2: the name under which the damaged store lies in the folder.
  kUnexpectedEnd = 1,  // The agent's last run told no end.
  kRemoved = 2,        // There was a store, and its file was gone.
  // Never written: what readers get in the place of a record that was removed or changed. Its time
  // is 0.
  kLost = 3,
};

IHistory::Event::Data OwnEventData(OwnEvent event, std::wstring_view detail = {});

}  // namespace host::history
