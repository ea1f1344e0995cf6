#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "module/frame/plugin_interfaces.h"
#include "module/rpc/client_base.h"
#include "module/rpc/client_subscriber.h"
#include "module/rpc/module_name.h"

namespace messaging::rpc {

// The calling end of the remote calls of `I`, a plug-in. A derived class turns each operation of
// `I` into parameters and back:
//
//   class CalculatorClient : public client<ICalculator> {
//    public:
//     uint32_t Add(uint32_t a, uint32_t b, uint32_t& sum) override {
//       ParameterList input, output;
//       if (!input.AddValue(kA, a) || !input.AddValue(kB, b)) return error::kFailed;
//       const int32_t status = send_request(kAdd, input, output);
//       ...
//     }
//     uint32_t Register(IObserver* observer) override {
//       return register_subscriber(observer) ? error::kSuccess : error::kBadParameter;
//     }
//   };
//
// The server may come later, go and come back. `I` needs a module_name, each of its event
// interfaces an event_interface.
template <class I>
class client : public IServPlugin, public I, public client_base {
 public:
  void* GetInterface(const InterfaceId& id) override {
    if (id == IOrnBaseInterface::kInterfaceId || id == IServPlugin::kInterfaceId) {
      return static_cast<IServPlugin*>(this);
    }
    if (id == client_handler::kInterfaceId) return static_cast<client_handler*>(this);
    return id == I::kInterfaceId ? static_cast<I*>(this) : nullptr;
  }
  // Returns 0, or 5002 without a messaging library; then no calls may be made.
  int32_t Init(IServMain* main) override { return init(main, module_name<I>); }
  void UnInit() override { uninit(); }
  int32_t Start() override { return 0; }
  void Stop() override {}

 protected:
  client() = default;

  // False where the handler has subscribed to that interface already. The handler is borrowed until
  // unregister_subscriber has returned, after which no call of it runs or comes; so it must not
  // subscribe or unsubscribe from inside a call. The id is made up where it is empty.
  template <class E>
  bool register_subscriber(E* handler, const std::string& subscriber_id = {},
                           const std::map<std::string, std::string>& properties = {}) {
    using interface = event_interface<E>;
    return add_subscriber(std::make_unique<typename interface::subscriber>(), handler,
                          interface::kNumber, subscriber_id, properties);
  }
  // False where it has not.
  template <class E>
  bool unregister_subscriber(E* handler) {
    return remove_subscriber(handler, event_interface<E>::kNumber);
  }
};

}  // namespace messaging::rpc
