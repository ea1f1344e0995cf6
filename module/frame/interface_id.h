#pragma once

#include <compare>
#include <cstdint>
#include <string_view>

// Names an interface: 128 bits as two words. This is not the layout of a Windows GUID, and none is
// ever converted to one.
struct InterfaceId {
  uint64_t low = 0;
  uint64_t high = 0;

  friend constexpr bool operator==(const InterfaceId&, const InterfaceId&) = default;
};

// Reads five hexadecimal groups A-B-C-D-E, with or without braces: high = A<<32 | B<<16 | C and
// low = D<<48 | E. Text of another form gives the identifier of all zeros.
constexpr InterfaceId ParseInterfaceId(std::string_view text) {
  if (text.size() >= 2 && text.front() == '{' && text.back() == '}') {
    text = text.substr(1, text.size() - 2);
  }
  uint64_t groups[5] = {};
  int group = 0;
  for (const char c : text) {
    if (c == '-') {
      if (++group == 5) return {};
      continue;
    }
    const int digit = c >= '0' && c <= '9'   ? c - '0'
                      : c >= 'a' && c <= 'f' ? c - 'a' + 10
                      : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                             : -1;
    if (digit < 0) return {};
    groups[group] = groups[group] << 4 | static_cast<uint64_t>(digit);
  }
  if (group != 4) return {};
  return {.low = (groups[3] << 48) + groups[4],
          .high = (((groups[0] << 16) + groups[1]) << 16) + groups[2]};
}
