#pragma once

#include "module/frame/serv_multi_plugin.h"
#include "module/rpc/server_base.h"

namespace messaging::rpc {

// The answering end of the remote calls of `I`, for one client. A derived class says what the
// methods do:
//
//   class CalculatorServer : public server<ICalculator> {
//    public:
//     CalculatorServer() {
//       register_method(1, &CalculatorServer::Add, /*admin_required=*/false);
//       register_callbacks(1, &CalculatorServer::AddObserver, &CalculatorServer::RemoveObserver);
//     }
//
//    private:
//     int32_t Add(const ParameterList& input, ParameterList& output);  // Calls (*target)->Add(...)
//     bool AddObserver(ObserverSubscriber* subscriber, const channel_subscriber& entry);
//     bool RemoveObserver(ObserverSubscriber* subscriber, const channel_subscriber& entry);
//   };
//
//   ExportedObjectDeclaration<server_factory<CalculatorServer>> server{L"Calculator.Server"};
//
// Methods run on several threads at a time.
template <class I>
class server : public server_base {
 public:
  using interface_type = I;

  // Not owned.
  void set_target(ServMultiPlugin<I>* implementation) { target = implementation; }

 protected:
  // The implementation of `I`, held from before the constructor's end to the factory's UnInit.
  ServMultiPlugin<I>* target = nullptr;
};

}  // namespace messaging::rpc
