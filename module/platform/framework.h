#pragma once

#include "module/frame/interface_id.h"

namespace Framework {

// Configuration values of the agent, plug-in "Framework.Manager". Any thread.
struct IPluginConfig {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{8F3F0000-EAFC-4F52-AED8-2B0DAF5BEE9C}");
  static constexpr const wchar_t* kTypeName = L"Framework::IPluginConfig";

  // Null where the key has no value. Valid until the plug-in is given back.
  virtual const wchar_t* GetValue(const wchar_t* key) = 0;

 protected:
  ~IPluginConfig() = default;
};

}  // namespace Framework
