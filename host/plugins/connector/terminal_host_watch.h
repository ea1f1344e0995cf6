#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "module/frame/exported_plugin.h"
#include "module/platform/service_control.h"

namespace host::connector {

// Tells when the process that holds the shells has ended, as its control object knows it.
class TerminalHostWatch final : private EndpointService::IControl::IEvents {
 public:
  // `on_lost` is called on the control object's thread.
  explicit TerminalHostWatch(std::function<void()> on_lost) : on_lost_(std::move(on_lost)) {}
  TerminalHostWatch(const TerminalHostWatch&) = delete;
  TerminalHostWatch& operator=(const TerminalHostWatch&) = delete;
  ~TerminalHostWatch() { Stop(); }

  // Watches the host of that name from now on, whether it runs yet or not. Returns 0 or a failure.
  uint32_t Start(const std::wstring& host);
  // When this has returned, `on_lost` is called no more. Also without Start.
  void Stop();

 private:
  uint32_t OnHostStateChanged(uint32_t state) override;

  const std::function<void()> on_lost_;
  ExportedPlugin<EndpointService::IControl, EndpointService::IControl> control_;
};

}  // namespace host::connector
