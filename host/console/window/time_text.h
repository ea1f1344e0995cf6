#pragma once

#include <cstdint>
#include <string>

namespace host::console {

enum class Seconds { kShown, kHidden };

// Date and time in the form that the user has set in Windows, in the local time of that day. Empty
// for a time that has no such form, and for 0, which stands for an unknown one. `time` is in
// seconds since 1970. Any thread.
std::wstring DescribeTime(int64_t time, Seconds seconds);

}  // namespace host::console
