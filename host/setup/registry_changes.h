#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "module/frame/windows.h"

namespace host::setup {

// Values written under HKEY_LOCAL_MACHINE, which can be taken back. Operations return a status.
class RegistryChanges {
 public:
  uint32_t SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text);
  uint32_t SetNumber(const std::wstring& key, const wchar_t* name, DWORD number);
  // All values and keys are as they were; the first failure.
  uint32_t TakeBack();

 private:
  struct Saved {
    std::wstring key;
    std::wstring name;
    bool existed = false;
    DWORD type = 0;
    std::vector<BYTE> data = {};
  };

  uint32_t Set(const std::wstring& key, const wchar_t* name, DWORD type, const void* data,
               size_t size);

  std::vector<Saved> saved_;
  std::vector<std::wstring> made_;  // Keys that were not there.
};

// Whether HKEY_LOCAL_MACHINE has that key.
bool MachineKeyExists(const std::wstring& key);

// A text of HKEY_LOCAL_MACHINE; empty where there is none.
std::wstring ReadMachineText(const std::wstring& key, const wchar_t* name);
// A number of HKEY_LOCAL_MACHINE; 0 where there is none.
DWORD ReadMachineNumber(const std::wstring& key, const wchar_t* name);

// Removes the key with all that is in it. A status, 0 also where there is none.
uint32_t RemoveKey(HKEY root, const std::wstring& key);

}  // namespace host::setup
