#pragma once

namespace orn {

// Names the calling thread for debuggers. No effect on a Windows that cannot.
void SetThreadName(const wchar_t* name);

}  // namespace orn
