#pragma once

#include <cstdint>

#include "module/frame/plugin_interfaces.h"

// What some of the plug-ins of frame_plugin_library.dll serve to the tests.
struct IWanted {
  static constexpr InterfaceId kInterfaceId{0x11, 0x22};
};

// A program that loads frame_plugin_library.dll may export this one to hear of each call that its
// plug-ins get.
using HeardFunction = void (*)(const char* call);
inline constexpr const char* kHeardFunctionName = "HeardFromPlugin";
