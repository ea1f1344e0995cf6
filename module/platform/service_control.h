#pragma once

#include <cstdint>

#include "module/frame/interface_id.h"

namespace EndpointService {

// The control object of one host process, "ServiceControl::NAME.exe" of ServiceInstance.Comm.dll:
// is it running, stop it, tell of changes. The order of the operations is binary contract.
struct IControl {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{6AA90000-1C0C-4E7A-6011-261BF38DAD87}");

  enum HostState : uint32_t { kRunning = 0, kStopped = 1 };

  struct IEvents {
    // Called on the control object's thread. The result is not used.
    virtual uint32_t OnHostStateChanged(uint32_t state) = 0;

   protected:
    ~IEvents() = default;
  };

  // Stops the host; `timeout` in milliseconds, 0xFFFFFFFF for no limit. Returns a code, 0 for
  // success.
  virtual uint32_t Stop(uint32_t timeout) = 0;
  // Stores non-zero in `*running` if the host runs. Returns a code.
  virtual uint32_t IsRunning(uint32_t* running) = 0;
  // Subscribes; non-zero is a failure.
  virtual uint32_t Register(IEvents* observer, uint32_t options) = 0;
  // When this has returned, the observer is called no more.
  virtual uint32_t Unregister(IEvents* observer, uint32_t options) = 0;

 protected:
  ~IControl() = default;
};

}  // namespace EndpointService
