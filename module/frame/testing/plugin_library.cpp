// A library of plug-ins that succeed and fail in every way, for the tests of the loaders. It tells
// the program of each call that they get.

#include "module/frame/testing/plugin_library.h"

#include "module/frame/object_declaration.h"
#include "module/frame/windows.h"

namespace {

void Tell(const char* call) {
  const auto heard = reinterpret_cast<void (*)(const char*)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(nullptr), "HeardFromPlugin")));
  if (heard != nullptr) heard(call);
}

template <int32_t kInitStatus, int32_t kStartStatus, bool kHasFace>
class Plugin final : public IServPlugin, public IWanted {
 public:
  Plugin() { Tell("make "); }
  ~Plugin() { Tell("delete "); }

  void* GetInterface(const InterfaceId& id) override {
    if (id == IOrnBaseInterface::kInterfaceId || id == IServPlugin::kInterfaceId) {
      return static_cast<IServPlugin*>(this);
    }
    if (id == IWanted::kInterfaceId && kHasFace) return static_cast<IWanted*>(this);
    return nullptr;
  }
  int32_t Init(IServMain* main) override {
    Tell(main == nullptr ? "Init(null) " : "Init ");
    return kInitStatus;
  }
  void UnInit() override { Tell("UnInit "); }
  int32_t Start() override {
    Tell("Start ");
    return kStartStatus;
  }
  void Stop() override { Tell("Stop "); }
};

ExportedObjectDeclaration<Plugin<0, 0, true>> plugin{L"Plugin"};
ExportedObjectDeclaration<Plugin<0, 0, false>> without_face{L"PluginWithoutFace"};
ExportedObjectDeclaration<Plugin<21, 0, true>> failing_init{L"PluginWhoseInitFails"};
ExportedObjectDeclaration<Plugin<0, 170, true>> failing_start{L"PluginWhoseStartFails"};

}  // namespace
