#pragma once

#include "module/frame/interface_id.h"

namespace host {

// A further face of a plug-in through which calls from outside come in. The host opens every intake
// once all plug-ins have started, and closes them before it stops anything: so no call meets a
// plug-in that is still being started or is being stopped.
struct IHostIntake {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{C3A94F27-0D6B-4B81-9E35-6F2D18B7A05C}");

  // From here on calls may come in. Called once, on the host's main thread, after the last
  // plug-in's Start.
  virtual void OpenIntake() {}

  // Lets no further call in and returns when the running ones have ended. Called once, on the
  // host's main thread, after Start and before any plug-in's Stop; streams that are open stay
  // usable.
  virtual void CloseIntake() = 0;

 protected:
  ~IHostIntake() = default;
};

}  // namespace host
