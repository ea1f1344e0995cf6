// A ServiceInstance.Comm.dll whose control object follows a script.

#include "module/frame/plugin_interfaces.h"
#include "module/terminal/host/testing/control_script.h"

namespace {

ControlScript script;

class ScriptedControl : public IServPlugin, public EndpointService::IControl {
 public:
  void* GetInterface(const InterfaceId& id) override {
    if (id != IControl::kInterfaceId) return static_cast<IServPlugin*>(this);
    return script.serves_control ? static_cast<IControl*>(this) : nullptr;
  }
  int32_t Init(IServMain*) override { return 0; }
  void UnInit() override {}
  int32_t Start() override { return 0; }
  void Stop() override {}

  uint32_t Stop(uint32_t timeout) override {
    script.stop_timeouts.push_back(timeout);
    return kStopResult;
  }
  uint32_t IsRunning(uint32_t* running) override {
    *running = script.running.front();
    if (script.running.size() > 1) script.running.erase(script.running.begin());
    return 0;
  }
  uint32_t Register(IEvents* observer, uint32_t) override {
    if (script.register_result != 0) return script.register_result;
    ++script.observers;
    for (const uint32_t state : script.states_to_tell)
      observer->OnHostStateChanged(state);
    return 0;
  }
  uint32_t Unregister(IEvents*, uint32_t) override {
    --script.observers;
    return 0;
  }
};

}  // namespace

extern "C" {

int OrnCreateObject(const wchar_t* name, const InterfaceId& id, void** object);
void OrnDestroyObject(const wchar_t* name, void* object);
ControlScript* GetControlScript();

int OrnCreateObject(const wchar_t* name, const InterfaceId& id, void** object) {
  static ScriptedControl control;
  script.name = name;
  *object = control.GetInterface(id);
  return 0;
}

void OrnDestroyObject(const wchar_t*, void*) {
  script.name.clear();
}

ControlScript* GetControlScript() {
  return &script;
}

}  // extern "C"
