#pragma once

#include <atomic>
#include <map>
#include <string>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/plugin_interfaces.h"

namespace messaging::testing {

// A host that gives out the faces which a test has put into it.
class faces_host final : public IServMain, public IComponentManager {
 public:
  template <class T>
  void put(const wchar_t* name, T* face) {
    faces_[name] = {T::kInterfaceId, face};
  }
  // Gives another face of the same interface, or none with null, and returns the one before.
  void* replace(const wchar_t* name, void* face) { return std::exchange(faces_[name].face, face); }
  // What was given out and not given back.
  int references() const { return references_; }

  IComponentManager* GetComponentManager() override { return this; }
  uint32_t GetObject(const wchar_t* name, const InterfaceId& id, void** object) override {
    const auto found = faces_.find(name);
    *object = found != faces_.end() && found->second.id == id ? found->second.face : nullptr;
    if (*object == nullptr) return error::kNotFound;
    ++references_;
    return error::kSuccess;
  }
  void ReleaseObject(const wchar_t*) override { --references_; }

 private:
  struct offered {
    InterfaceId id;
    void* face = nullptr;
  };
  std::map<std::wstring, offered> faces_;
  std::atomic<int> references_{0};
};

}  // namespace messaging::testing
