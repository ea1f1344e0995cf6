#pragma once

#include <cstdint>
#include <string>

namespace pugi {
class xml_node;
}

namespace host {

// What the element <log> of a host program's configuration says:
//
//   <log path="log\service.log" level="notice" maxSize="10485760" files="5"/>
//
// `path` is required, and is relative to the folder of the configuration file; `level` is the least
// severe one that is written: error, warning, notice (the default), information or trace; `maxSize`
// is in bytes. From information on the log holds what administrators ask for, from trace on also
// what they type and see.
struct LogSettings {
  std::wstring path;
  uint32_t level_mask = 2 | 4 | 8;
  uint64_t max_size = 10 * 1024 * 1024;
  uint32_t files = 5;
};

// Reads the element; `folder` is the configuration file's. What is wrong with it, or the empty
// text.
std::string ReadLogSettings(const pugi::xml_node& element, const std::wstring& folder,
                            LogSettings& settings);

}  // namespace host
