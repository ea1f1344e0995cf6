#include "host/setup/shortcut.h"

#include "module/frame/windows.h"

#include <shlobj.h>

namespace host::setup {
namespace {

template <class Interface>
struct Released {
  Interface* pointer = nullptr;
  ~Released() {
    if (pointer != nullptr) pointer->Release();
  }
};

HRESULT Write(const std::wstring& path, const Shortcut& shortcut) {
  Released<IShellLinkW> link;
  Released<IPersistFile> file;
  HRESULT result = CoCreateInstance(CLSID_ShellLink, /*outer=*/nullptr, CLSCTX_INPROC_SERVER,
                                    IID_IShellLinkW, reinterpret_cast<void**>(&link.pointer));
  if (FAILED(result)) return result;
  result = link.pointer->SetPath(shortcut.program.c_str());
  if (SUCCEEDED(result)) result = link.pointer->SetArguments(shortcut.arguments.c_str());
  if (SUCCEEDED(result)) result = link.pointer->SetDescription(shortcut.description.c_str());
  if (SUCCEEDED(result)) {
    result =
        link.pointer->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file.pointer));
  }
  return SUCCEEDED(result) ? file.pointer->Save(path.c_str(), /*remember=*/TRUE) : result;
}

}  // namespace

uint32_t WriteShortcut(const std::wstring& path, const Shortcut& shortcut) {
  const HRESULT initialised = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (FAILED(initialised)) return static_cast<uint32_t>(initialised);
  const HRESULT result = Write(path, shortcut);
  CoUninitialize();
  return SUCCEEDED(result) ? 0 : static_cast<uint32_t>(result);
}

}  // namespace host::setup
