#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "host/common/host_presence.h"
#include "module/frame/event.h"
#include "module/frame/handle.h"
#include "module/frame/observers.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/service_control.h"

namespace host {

// The control object of the host `name`, "ServiceControl::NAME.exe". Life as of any plug-in; the
// operations of IControl may be called between Init and UnInit, on any thread.
class ServiceControl : public IServPlugin, public EndpointService::IControl {
 public:
  explicit ServiceControl(std::wstring name) : name_(std::move(name)) {}
  ServiceControl(const ServiceControl&) = delete;
  ServiceControl& operator=(const ServiceControl&) = delete;
  virtual ~ServiceControl();

  void* GetInterface(const InterfaceId& id) override;

  int32_t Init(IServMain* main) override;
  void UnInit() override {}
  int32_t Start() override { return 0; }
  // Ends the watching.
  void Stop() override;

  // Asks the host to stop and waits for the end of its process: 0 when it has ended or did not run,
  // 1460 at the time-out. A host that this very process declares is not stopped: 0 at once. It
  // would wait for itself.
  uint32_t Stop(uint32_t timeout) override;
  uint32_t IsRunning(uint32_t* running) override;
  // Returns 0; 87 for null, 1627 for an observer that is there already, or why the host cannot be
  // watched. From then on the observer is told of each start and each end. Observers must not call
  // Register or Unregister from inside their notification.
  uint32_t Register(IEvents* observer, uint32_t options) override;
  // Returns 0, or 1627 for an observer that is not there. Waits for a running notification.
  uint32_t Unregister(IEvents* observer, uint32_t options) override;

 private:
  uint32_t StartWatching();
  void StopWatching();
  // The watching thread. `running` is the state that the observers know.
  void Watch(bool running);

  // Fixed after Init.
  const std::wstring name_;
  HostPresence presence_;

  // Synchronise themselves.
  SynchronyzedObjectContainer<IEvents*> observers_;
  Event<MemberFunction_1_args<IEvents, uint32_t, uint32_t, &IEvents::OnHostStateChanged>>
      state_changed_{observers_};

  std::mutex mutex_;
  // Guarded by mutex_.
  orn::UniqueHandle quit_;
  std::thread watcher_;
};

}  // namespace host
