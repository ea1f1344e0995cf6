#include "module/frame/exported_object.h"

#include <shlwapi.h>

#include <algorithm>
#include <string_view>
#include <utility>

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace orn::detail {
namespace {

// Kernel32 knows the search flags since it has SetDefaultDllDirectories.
DWORD LoadFlags() {
  const HMODULE kernel = GetModuleHandleW(L"Kernel32.dll");
  if (kernel != nullptr && GetProcAddress(kernel, "SetDefaultDllDirectories") != nullptr) {
    return LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
  }
  return LOAD_WITH_ALTERED_SEARCH_PATH;
}

HMODULE LoadBeside(HMODULE module, const wchar_t* relative_path, DWORD flags) {
  std::wstring path(MAX_PATH, 0);
  DWORD length = 0;
  while ((length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()))) ==
         path.size()) {
    path.resize(path.size() * 2);
  }
  if (length == 0) return nullptr;
  path.resize(length);
  path.resize(path.find_last_of(L"\\/") + 1);
  if (path.empty()) path = L"\\";
  const std::wstring_view tail = relative_path;
  path += tail.substr(std::min(tail.find_first_not_of(L"\\/"), tail.size()));
  return LoadLibraryExW(path.c_str(), nullptr, flags);
}

HMODULE LoadLibraryAt(const wchar_t* path) {
  const DWORD flags = LoadFlags();
  if (!PathIsRelativeW(path)) return LoadLibraryExW(path, nullptr, flags);
  if (const HMODULE library = LoadBeside(/*module=*/nullptr, path, flags)) return library;
  return LoadBeside(reinterpret_cast<HMODULE>(&__ImageBase), path, flags);
}

template <class Function>
Function Resolve(HMODULE library, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

uint32_t LastErrorOrUnknown() {
  const DWORD error = GetLastError();
  return error != ERROR_SUCCESS ? error : error::kUnknownMethod;
}

}  // namespace

uint32_t LoadedObject::Load(const wchar_t* path, const wchar_t* name) {
  if (path == nullptr || name == nullptr) {
    Unload();
    return error::kBadParameter;
  }
  std::wstring new_name = name;
  Unload();
  name_ = std::move(new_name);
  const uint32_t status = Create(path);
  if (status != error::kSuccess) Unload();
  return status;
}

uint32_t LoadedObject::Create(const wchar_t* path) {
  library_ = LoadLibraryAt(path);
  if (library_ == nullptr) return LastErrorOrUnknown();

  SetLastError(ERROR_SUCCESS);
  create_ = Resolve<OrnCreateObjectFunction>(library_, "OrnCreateObject");
  if (create_ == nullptr) return LastErrorOrUnknown();
  destroy_ = Resolve<OrnDestroyObjectFunction>(library_, "OrnDestroyObject");
  if (destroy_ == nullptr) return LastErrorOrUnknown();

  void* object = nullptr;
  const int result = create_(name_.c_str(), IOrnBaseInterface::kInterfaceId, &object);
  if (result != 0) return static_cast<uint32_t>(result);
  object_ = static_cast<IOrnBaseInterface*>(object);
  return object_ != nullptr ? error::kSuccess : error::kUnknownMethod;
}

void LoadedObject::Unload() {
  if (object_ != nullptr && destroy_ != nullptr) destroy_(name_.c_str(), object_);
  object_ = nullptr;
  if (library_ != nullptr) FreeLibrary(library_);
  library_ = nullptr;
  destroy_ = nullptr;
  create_ = nullptr;
  name_.clear();
}

}  // namespace orn::detail
