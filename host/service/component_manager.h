#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "module/frame/plugin_interfaces.h"

namespace host {

// The plug-ins that can be had, by display name, with the number of references that are out. Any
// thread.
class ComponentManager : public IComponentManager {
 public:
  // `object` is not owned, and is there until Remove and longer than any reference.
  void Add(const std::wstring& name, IOrnBaseInterface* object);
  // From here on the plug-in cannot be had any more. Returns the number of references that were not
  // given back.
  uint32_t Remove(const std::wstring& name);

  // 0; 87 for a missing argument; 1168 where no such plug-in is started or it has no such face.
  uint32_t GetObject(const wchar_t* name, const InterfaceId& id, void** object) override;
  // Without effect where no reference is out.
  void ReleaseObject(const wchar_t* name) override;

 private:
  struct Component {
    IOrnBaseInterface* object = nullptr;  // Not owned.
    uint32_t references = 0;
  };

  std::mutex mutex_;
  std::map<std::wstring, Component> components_;  // Guarded by mutex_.
};

}  // namespace host
