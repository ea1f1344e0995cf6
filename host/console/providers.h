#pragma once

#include "module/frame/exported_object.h"
#include "module/frame/plugin_interfaces.h"

namespace host::console {

// What tells the console of sessions while the service is there. Used by one thread.
struct IProviders {
  // What can be made ready without a service. False where something failed.
  virtual bool Prepare() = 0;
  // 0 when all run; else none does.
  virtual bool Start() = 0;
  // Stops all and throws them away, with whatever they remember.
  virtual void End() = 0;
  // The one who tells the banner ends, and another one starts.
  virtual void RenewBanner() = 0;

 protected:
  ~IProviders() = default;
};

// The module's two plug-ins "RemoteAccess.Console.ActiveTaskProvider" and
// "RemoteAccess.Console.TaskProvider". They never forget a session whose end they were not told;
// so for each service there is a new pair.
//
// The first one makes the host known to the module's translations, so it is kept initialised while
// there is no service.
class Providers final : public IProviders {
 public:
  // Not owned.
  explicit Providers(IServMain& main) : main_(main) {}
  Providers(const Providers&) = delete;
  Providers& operator=(const Providers&) = delete;
  virtual ~Providers() = default;

  bool Prepare() override;
  bool Start() override;
  void End() override;
  void RenewBanner() override;

 private:
  struct Plugin {
    const wchar_t* name;
    ExportedObject<IServPlugin> object{};
    bool initialised = false;
    bool started = false;
  };

  bool Prepare(Plugin& plugin);
  static bool Start(Plugin& plugin);
  static void End(Plugin& plugin);

  IServMain& main_;
  Plugin tasks_{.name = L"RemoteAccess.Console.ActiveTaskProvider"};
  Plugin banner_{.name = L"RemoteAccess.Console.TaskProvider"};
};

}  // namespace host::console
