// A library of plug-ins that succeed and fail in every way, for the tests of the loaders.

#include "module/frame/testing/plugin_library.h"

#include "module/frame/exported_plugin.h"
#include "module/frame/object_declaration.h"

namespace {

void Tell(const char* call) {
  const auto heard = reinterpret_cast<HeardFunction>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(nullptr), kHeardFunctionName)));
  if (heard != nullptr) heard(call);
}

template <int32_t kInitStatus, int32_t kStartStatus, bool kLoadsFurther>
class Plugin final : public IServPlugin, public ILoadsFurther {
 public:
  Plugin() { Tell("make "); }
  ~Plugin() { Tell("delete "); }

  void* GetInterface(const InterfaceId& id) override {
    if (id == IOrnBaseInterface::kInterfaceId || id == IServPlugin::kInterfaceId) {
      return static_cast<IServPlugin*>(this);
    }
    if (id == ILoadsFurther::kInterfaceId && kLoadsFurther)
      return static_cast<ILoadsFurther*>(this);
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

  uint32_t LoadFurther(const wchar_t* path, const wchar_t* name) override {
    return ExportedPlugin<ILoadsFurther, ILoadsFurther>().Load(path, name);
  }
};

class NoPlugin final : public IOrnBaseInterface {
 public:
  NoPlugin() { Tell("make "); }
  ~NoPlugin() { Tell("delete "); }
  void* GetInterface(const InterfaceId& id) override {
    return id == IOrnBaseInterface::kInterfaceId ? this : nullptr;
  }
};

ExportedObjectDeclaration<Plugin<0, 0, true>> plugin{L"Plugin"};
ExportedObjectDeclaration<Plugin<0, 0, false>> without_face{L"PluginWithoutFace"};
ExportedObjectDeclaration<Plugin<21, 0, true>> failing_init{L"PluginWhoseInitFails"};
ExportedObjectDeclaration<Plugin<0, 170, true>> failing_start{L"PluginWhoseStartFails"};
ExportedObjectDeclaration<NoPlugin> no_plugin{L"NoPlugin"};

}  // namespace
