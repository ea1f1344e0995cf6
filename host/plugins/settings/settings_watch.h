#pragma once

#include "module/frame/interface_id.h"

namespace host {

// A further face of "TsrSettings", for plug-ins of this agent that want to know when a setting is
// stored.
struct ISettingsWatch {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{0D7F3A52-61C8-4E2B-B0A9-48E15C36D9F7}");
  static constexpr const wchar_t* kTypeName = L"host::ISettingsWatch";

  struct IObserver {
    // Called after `key` was stored in this process, on the thread that stored it, which may hold a
    // lock that others spin on: the observer must neither wait nor call the module.
    virtual void OnStored(const wchar_t* key) = 0;

   protected:
    ~IObserver() = default;
  };

  // The observer is borrowed until Unwatch has returned. Any thread but an observer's.
  virtual void Watch(IObserver* observer) = 0;
  virtual void Unwatch(IObserver* observer) = 0;

 protected:
  ~ISettingsWatch() = default;
};

}  // namespace host
