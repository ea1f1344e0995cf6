#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace host {

// The names in one archive: none twice, letter case aside, so that each file can be unpacked beside
// the others.
class EntryNames {
 public:
  // The name as it stands in the archive: with forward slashes and none in front, without "." and
  // "..", which would lead out of the folder that it is unpacked in, and with "_" for what no name
  // on Windows holds. A later one of equal names gets " (2)" before its extension, then " (3)".
  // Empty where nothing is left.
  std::wstring Add(std::wstring_view name);

 private:
  // By the folded name: how many asked for it.
  std::unordered_map<std::wstring, uint32_t> used_;
};

}  // namespace host
