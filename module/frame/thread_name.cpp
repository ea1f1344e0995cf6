#include "module/frame/thread_name.h"

#include "module/frame/windows.h"

namespace orn {

void SetThreadName(const wchar_t* name) {
  using SetThreadDescriptionFunction = HRESULT(WINAPI*)(HANDLE thread, PCWSTR description);
  // Kernel32 has it since Windows 10, version 1607.
  static const auto set_description =
      reinterpret_cast<SetThreadDescriptionFunction>(reinterpret_cast<void*>(
          GetProcAddress(GetModuleHandleW(L"Kernel32.dll"), "SetThreadDescription")));
  if (set_description != nullptr) set_description(GetCurrentThread(), name);
}

}  // namespace orn
