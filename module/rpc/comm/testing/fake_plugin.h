#pragma once

#include "module/frame/plugin_interfaces.h"

namespace orn {

// A plug-in that serves `I` and does nothing by itself.
template <class I>
struct FakePlugin : IServPlugin, I {
  virtual ~FakePlugin() = default;

  void* GetInterface(const InterfaceId& id) override {
    if (id == I::kInterfaceId) return static_cast<I*>(this);
    const bool is_plugin = id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId;
    return is_plugin ? static_cast<IServPlugin*>(this) : nullptr;
  }
  int32_t Init(IServMain*) override { return 0; }
  void UnInit() override {}
  int32_t Start() override { return 0; }
  void Stop() override {}
};

}  // namespace orn
