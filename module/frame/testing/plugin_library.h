#pragma once

#include <cstdint>

#include "module/frame/plugin_interfaces.h"

// What some of the plug-ins of frame_plugin_library.dll serve to the tests.
struct IWanted {
  static constexpr InterfaceId kInterfaceId{0x11, 0x22};
};
