#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/common/host_presence.h"
#include "host/service/component_manager.h"
#include "host/service/configuration.h"
#include "host/service/configuration_object.h"
#include "host/service/log_session.h"
#include "host/service/plugin_sequence.h"
#include "host/service/supervision.h"
#include "module/frame/plugin_interfaces.h"

namespace host {

// Hears of a host's life, on the host's thread but for OnEnd, which may come on any.
struct IHostWatcher {
  // One more plug-in has been started or stopped.
  virtual void OnStep() = 0;
  virtual void OnRunning() = 0;
  virtual void OnStopping() = 0;
  // The last that happens in the process. Comes once or, when the limit for the stop is reached in
  // that very moment, twice.
  virtual void OnEnd(uint32_t exit_code) = 0;

 protected:
  ~IHostWatcher() = default;
};

// The life of the host that a configuration describes. All operations belong to one thread, which
// must live as long as the process.
//
// It is never destroyed, and neither are its plug-ins: after the last UnInit the process ends by
// force, with its exit code, while everything is still in its place. An orderly end of a C++
// process destroys static objects after the system has killed all other threads, wherever they
// were: one that was killed inside a plug-in's spin lock would leave the lock taken, and the
// destructors would wait for it for ever. And a plug-in may not be destroyed while a thread of
// another still holds a reference that it gives back in a destructor.
class HostProcess : public IServMain {
 public:
  // Neither is owned; `watcher` may be null.
  explicit HostProcess(const Configuration& configuration, IHostWatcher* watcher = nullptr)
      : configuration_(configuration), watcher_(watcher), configuration_object_(configuration) {}
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  IComponentManager* GetComponentManager() override { return &components_; }

  // Runs the host from its first plug-in's Init to its last one's UnInit and the end of its other
  // processes, and ends the process:
  // with code 0 after an orderly stop, with code 1 where the host could not be started or did not
  // stop in time.
  [[noreturn]] void Run();

 private:
  bool Prepare();
  bool DeclareHosts();
  bool StartPlugins();
  void WaitForStop() const;
  void StopPlugins();
  void StartStopLimit();
  [[noreturn]] void End(uint32_t exit_code);

  const Configuration& configuration_;
  IHostWatcher* const watcher_;
  ConfigurationObject configuration_object_;
  ComponentManager components_;
  LogSession log_;
  std::vector<std::unique_ptr<HostPresence>> hosts_;
  PluginSequence plugins_{configuration_, *this, components_, [this] {
                            if (watcher_ != nullptr) watcher_->OnStep();
                          }};
  Supervision supervision_;
};

}  // namespace host
