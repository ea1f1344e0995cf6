#include "module/frame/guid.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "module/frame/windows.h"

#include <combaseapi.h>

namespace orn {

StringT<wchar_t> GenerateGuid() {
  GUID guid;
  if (CoCreateGuid(&guid) != S_OK) return {};
  uint64_t tail = 0;
  static_assert(sizeof(tail) == sizeof(guid.Data4));
  std::memcpy(&tail, guid.Data4, sizeof(tail));
  using Wide = unsigned long long;
  wchar_t text[37];
  std::swprintf(text, std::size(text), L"%08llx-%04llx-%04llx-%04llx-%012llx", Wide{guid.Data1},
                Wide{guid.Data2}, Wide{guid.Data3}, Wide{tail >> 48},
                Wide{tail & 0xFFFF'FFFF'FFFF});
  return text;
}

}  // namespace orn
