#pragma once

#include <cstdint>

#include "module/frame/plugin_interfaces.h"

// What the plug-ins of frame_plugin_library.dll serve to the tests.
struct ILoadsFurther {
  static constexpr InterfaceId kInterfaceId{0x11, 0x22};

  // Loads and ends a plug-in of a further library, from inside this one. The loader's status.
  virtual uint32_t LoadFurther(const wchar_t* path, const wchar_t* name) = 0;

 protected:
  ~ILoadsFurther() = default;
};

// A program that loads frame_plugin_library.dll may export this one to hear of each call that its
// plug-ins get.
using HeardFunction = void (*)(const char* call);
inline constexpr const char* kHeardFunctionName = "HeardFromPlugin";
