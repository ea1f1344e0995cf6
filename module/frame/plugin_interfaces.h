#pragma once

#include <cstdint>

#include "module/frame/interface_id.h"

// The four interfaces of the bargain between the host and its plug-ins. The order of the operations
// is binary contract. None is reference counted; none is destroyed through its interface.

// Root of every object that crosses a library's border.
struct IOrnBaseInterface {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{514BE292-F7C5-425F-BC90-FCA366551AB3}");
  static constexpr const wchar_t* kTypeName = L"IOrnBaseInterface";

  // The face of the object that answers to `id`, or null. Takes no reference.
  virtual void* GetInterface(const InterfaceId& id) = 0;

 protected:
  ~IOrnBaseInterface() = default;
};

// The host's registry of plug-ins. Counts references by display name.
struct IComponentManager {
  // Stores the plug-in's face for `id` in `*object`, null on failure. Returns a status, 0 for
  // success.
  virtual uint32_t GetObject(const wchar_t* name, const InterfaceId& id, void** object) = 0;
  // Gives one reference on the plug-in `name` back.
  virtual void ReleaseObject(const wchar_t* name) = 0;

 protected:
  ~IComponentManager() = default;
};

// The host as a plug-in sees it.
struct IServMain {
  // Null where the host has no component manager.
  virtual IComponentManager* GetComponentManager() = 0;

 protected:
  ~IServMain() = default;
};

// What a plug-in offers the host, which drives it in the order Init, Start, Stop, UnInit and never
// overlaps these calls.
struct IServPlugin : IOrnBaseInterface {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{E952825D-7C88-4176-9833-04D0414E2323}");

  // `main` is null where there is no component manager. Returns 0 for success.
  virtual int32_t Init(IServMain* main) = 0;
  virtual void UnInit() = 0;
  // Returns 0 for success.
  virtual int32_t Start() = 0;
  virtual void Stop() = 0;

 protected:
  ~IServPlugin() = default;
};
