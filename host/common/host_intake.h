#pragma once

#include "module/frame/interface_id.h"

namespace host {

// A further face of a plug-in through which calls from outside come in. Before the host stops anything it
// closes every intake, so that no call runs in a plug-in that is being stopped.
struct IHostIntake {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{C3A94F27-0D6B-4B81-9E35-6F2D18B7A05C}");

  // Lets no further call in and returns when the running ones have ended. Called once, on the host's main
  // thread, after Start and before any plug-in's Stop; streams that are open stay usable.
  virtual void CloseIntake() = 0;

 protected:
  ~IHostIntake() = default;
};

}  // namespace host
