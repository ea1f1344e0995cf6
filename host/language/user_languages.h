#pragma once

#include <string>
#include <vector>

namespace host {

// What the user of this process wants to read, the most wanted first: the value "language" of
// HKCU\Software\Tessaro\Console, then the languages of Windows, as "de-AT".
std::vector<std::wstring> UserLanguages();

}  // namespace host
