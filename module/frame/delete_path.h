#pragma once

#include <functional>

#include "module/frame/path_string.h"
#include "module/frame/string.h"

namespace orn::detail {

// Asks for the attributes of the path where it stands in their place.
inline constexpr unsigned long kAskForAttributes = 0xFFFFFFFF;

// The careful delete: what cannot be deleted now is handed over to the next restart of the machine.
//
//   bool reboot_needed = false;
//   const auto is_log = [](const PathStringT<260>& path) { return path.view().ends_with(L".log");
//   }; if (!DeletePath(folder.c_str(), reboot_needed, is_log, L"*")) return GetLastError();
//
// In a folder it takes the entries that match `pattern`, and below it all, or those that match
// where `use_pattern_below` is set; `recursive` false leaves folders alone. A folder of which
// nothing was kept goes itself. Of a link to a folder only the link goes.
//
// `skip` is asked about each path and keeps it by true; an empty function keeps nothing. An empty
// `pattern` finds nothing, and that is a success. `attributes` are those of the path.
//
// True when all of it is deleted, kept on purpose or left to the restart. The first failure ends
// the run. `reboot_needed` is only ever set. The caller sets `all_deleted`; it is cleared when
// something was kept.
bool DeletePath(const wchar_t* path, bool& reboot_needed, bool& all_deleted, bool recursive,
                std::function<bool(const PathStringT<260>&)> skip, unsigned long attributes,
                StringT<wchar_t> pattern, bool use_pattern_below);

// The same for a folder, recursively.
bool DeletePath(const wchar_t* path, bool& reboot_needed,
                std::function<bool(const PathStringT<260>&)> skip, StringT<wchar_t> pattern);

}  // namespace orn::detail
