#pragma once

#include "module/frame/interface_id.h"

namespace orn::Signal::detail {

// Carries the names of a signal's listeners across a restart, plug-in "Product.PersistentHandlers".
// Called with the signal's lock held. Texts are UTF-8.
struct IPesistentHandlers {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{2D8B77F0-5A5C-4C6B-9B1E-8F6A4C3D2E17}");
  static constexpr const wchar_t* kTypeName = L"orn::Signal::detail::IPesistentHandlers";

  virtual void Add(const char* channel, const char* id) = 0;
  virtual void Remove(const char* channel, const char* id) = 0;

 protected:
  ~IPesistentHandlers() = default;
};

// What was carried across, a second face of the plug-in.
struct IPersistedNames {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{6C0D3E1A-52B7-4A1F-8D94-0B7E5F2C9A36}");
  static constexpr const wchar_t* kTypeName = L"orn::Signal::detail::IPersistedNames";

  // Calls `each` for every name that was added to the channel and not removed, oldest first.
  virtual void ForEach(const char* channel, void (*each)(const char* id, void* user),
                       void* user) = 0;

 protected:
  ~IPersistedNames() = default;
};

}  // namespace orn::Signal::detail
