#pragma once

#include <cstdint>
#include <string>

#include "module/frame/error_codes.h"
#include "module/frame/object_exports.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/windows.h"

namespace orn::detail {

// A loaded library and the one object that was taken out of it. Not synchronised.
class LoadedObject {
 public:
  LoadedObject() = default;
  LoadedObject(const LoadedObject&) = delete;
  LoadedObject& operator=(const LoadedObject&) = delete;
  ~LoadedObject() { Unload(); }

  // Unloads what is loaded, then loads the library at `path` and creates its object `name`. A
  // relative path is looked for in the folder of the program, then in that of this module, and
  // nowhere else. Returns 0; 87 for a missing path or name; or why it failed, with nothing loaded.
  uint32_t Load(const wchar_t* path, const wchar_t* name);
  // Gives the object back, then the library.
  void Unload();

  IOrnBaseInterface* object() const noexcept { return object_; }

 private:
  uint32_t Create(const wchar_t* path);

  HMODULE library_ = nullptr;
  IOrnBaseInterface* object_ = nullptr;
  OrnDestroyObjectFunction destroy_ = nullptr;
  OrnCreateObjectFunction create_ = nullptr;
  std::wstring name_;
};

}  // namespace orn::detail

// An object of another library, loaded at run time and given back at the end:
//
//   ExportedObject<IServPlugin> plugin;
//   if (plugin.Load(L"service.dll", L"Service") == 0) plugin.get()->Init(main);
//
// Used by one thread at a time.
template <class I>
class ExportedObject : public IOrnBaseInterface {
 public:
  ExportedObject() = default;
  ExportedObject(const ExportedObject&) = delete;
  ExportedObject& operator=(const ExportedObject&) = delete;
  virtual ~ExportedObject() = default;

  // As LoadedObject::Load; 632 where the object does not serve `I`.
  uint32_t Load(const wchar_t* path, const wchar_t* name) {
    interface_ = nullptr;
    if (const uint32_t status = loaded_.Load(path, name); status != error::kSuccess) return status;
    interface_ = static_cast<I*>(loaded_.object()->GetInterface(I::kInterfaceId));
    if (interface_ != nullptr) return error::kSuccess;
    loaded_.Unload();
    return error::kUnknownMethod;
  }

  void Unload() {
    interface_ = nullptr;
    loaded_.Unload();
  }

  // Null when nothing is loaded.
  I* get() const noexcept { return interface_; }

  // Null when nothing is loaded.
  void* GetInterface(const InterfaceId& id) override {
    const InterfaceId copy = id;
    return interface_ != nullptr ? interface_->GetInterface(copy) : nullptr;
  }

 private:
  orn::detail::LoadedObject loaded_;
  I* interface_ = nullptr;
};
