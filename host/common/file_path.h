#pragma once

#include <string>
#include <string_view>

// Paths and texts of configuration files.
namespace host {

std::wstring WideText(std::string_view utf8);

// The folder of the file at `path`, without a backslash at the end; empty where it has none.
std::wstring FolderOf(std::wstring_view path);

// `path` made absolute and free of "..", where a relative one lies in `folder`. Empty stays empty.
std::wstring AbsolutePath(std::wstring_view folder, std::wstring_view path);

// As AbsolutePath, for a path as configurations have it: with the values of environment variables
// in the place of their names, as in "%LOCALAPPDATA%\log".
std::wstring ConfiguredPath(std::wstring_view folder, const std::wstring& path);

// The full path of this process's program.
std::wstring ProgramPath();

}  // namespace host
