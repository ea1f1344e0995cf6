#pragma once

#include <cstdint>

#include "module/frame/error_codes.h"
#include "module/frame/exported_object.h"
#include "module/frame/plugin_interfaces.h"

// A plug-in of another library that is loaded and run here, without the host:
//
//   ExportedPlugin<IControl, IControl> control_;
//   if (control_.Load(L"ServiceInstance.Comm.dll", L"ServiceControl::Worker.exe") == 0) {
//     control_.get()->Register(this, 0);
//   }
//
// `J` is what is wanted of it; `I` only tells users apart. Used by one thread at a time.
template <class I, class J>
class ExportedPlugin : public IOrnBaseInterface {
 public:
  ExportedPlugin() = default;
  ExportedPlugin(const ExportedPlugin&) = delete;
  ExportedPlugin& operator=(const ExportedPlugin&) = delete;
  virtual ~ExportedPlugin() { Unload(); }

  // Ends the plug-in that runs, if any; then loads one as ExportedObject does, and runs its Init
  // and its Start. Returns 0; 87 for a missing or empty path or name; the loader's, Init's or
  // Start's failure; or 0x80004002 where the running plug-in does not serve `J`. After a failure
  // nothing is left running or loaded. `main` is what Init gets.
  uint32_t Load(const wchar_t* path, const wchar_t* name, IServMain* main = nullptr) {
    Unload();
    if (path == nullptr || *path == 0 || name == nullptr || *name == 0) {
      return error::kBadParameter;
    }
    if (const uint32_t status = plugin_.Load(path, name); status != error::kSuccess) return status;

    const int32_t init_status = plugin_.get()->Init(main);
    if (init_status != 0) {
      plugin_.Unload();
      return static_cast<uint32_t>(init_status);
    }
    const int32_t start_status = plugin_.get()->Start();
    if (start_status != 0) {
      plugin_.get()->UnInit();
      plugin_.Unload();
      return static_cast<uint32_t>(start_status);
    }
    interface_ = static_cast<J*>(plugin_.GetInterface(J::kInterfaceId));
    if (interface_ == nullptr) {
      Unload();
      return error::kNoInterface;
    }
    return error::kSuccess;
  }

  // Stop, UnInit and unload. No effect when nothing is loaded.
  void Unload() {
    interface_ = nullptr;
    if (plugin_.get() == nullptr) return;
    plugin_.get()->Stop();
    plugin_.get()->UnInit();
    plugin_.Unload();
  }

  // Null when nothing is loaded.
  J* get() const noexcept { return interface_; }

  // A face of the plug-in; null when nothing is loaded.
  void* GetInterface(const InterfaceId& id) override { return plugin_.GetInterface(id); }

 private:
  ExportedObject<IServPlugin> plugin_;
  J* interface_ = nullptr;
};
