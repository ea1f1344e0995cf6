#pragma once

#include <cstdint>
#include <string>

namespace host {

// Makes the folder at `path`, where there is none, with the access and the owner that `access` says
// in the system's text form. A folder that is there gets the same access unless somebody gave it
// one of its own (one that is not inherited from above). One that belongs to a stranger is refused:
// he could change its access again.
//
// Returns a status: 0; 267 where the path is a file's; 1307 for a stranger's; or why it cannot be
// made.
uint32_t PrepareProtectedFolder(const std::wstring& path, const std::wstring& access);

}  // namespace host
