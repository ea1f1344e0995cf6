#pragma once

#include <string>
#include <string_view>

namespace orn {

// The form in which Windows' file functions take an absolute path of any length. A path that is
// short enough for them stays as it is.
std::wstring LongPath(std::wstring_view path);

}  // namespace orn
