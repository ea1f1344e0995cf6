#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host::link {

struct ServerAddress {
  std::wstring host;
  std::wstring path;
  uint16_t port = 0;
  bool secure = false;

  bool IsLoopback() const;
};

// Reads ws://host[:port][/path] or wss://...; `door` is the path where there is none.
std::optional<ServerAddress> ParseServerAddress(std::wstring_view url, std::wstring_view door);

// How a machine tells who it is.
struct MachineIdentity {
  std::wstring id;    // 8 to 64 characters of [0-9A-Za-z-]
  std::wstring name;  // as people know it
};

bool IsMachineId(std::wstring_view id);

// All but letters, digits, "-", "." and "_" becomes "%" and two hexadecimal digits.
std::wstring EncodePercent(std::string_view utf8);

// The text as a header takes it: percent-encoded UTF-8, cut at a whole character to 255 bytes
// before encoding.
std::wstring EncodeMachineName(std::wstring_view name);

}  // namespace host::link
