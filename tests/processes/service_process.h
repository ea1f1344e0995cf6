#pragma once

#include <string>

#include "host/testing/host_runner.h"

namespace remote_calls {

// A real host with the hub, which users may use as the deployed one; with both servers over the
// targets of RemoteCallsTestPlugin.dll unless `servers` is false. Runs when constructed.
class ServiceProcess {
 public:
  explicit ServiceProcess(bool servers = true);

  void AskToStop() { host_.AskToStop(); }
  DWORD Wait() { return host_.Wait(); }

 private:
  host::testing::HostRunner host_;
};

}  // namespace remote_calls
