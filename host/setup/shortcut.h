#pragma once

#include <cstdint>
#include <string>

namespace host::setup {

struct Shortcut {
  std::wstring program;
  std::wstring arguments;
  std::wstring description;
};

// Makes the .lnk file at `path`, or makes it anew. A status.
uint32_t WriteShortcut(const std::wstring& path, const Shortcut& shortcut);

}  // namespace host::setup
