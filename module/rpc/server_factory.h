#pragma once

#include <optional>

#include "module/frame/serv_multi_plugin.h"
#include "module/rpc/module_name.h"
#include "module/rpc/server.h"
#include "module/rpc/server_factory_base.h"

namespace messaging::rpc {

// The answering end of the remote calls as the host loads it, once. `P` derives from server<I> and
// answers one client each; see there.
template <class P>
class server_factory : public server_factory_base {
 public:
  // Goes by other names than those of the interface, where they are not empty. UTF-8.
  explicit server_factory(const char* module = "", const char* channel_name = "") {
    name = module;
    channel = channel_name;
  }

 private:
  using I = typename P::interface_type;

  const char* default_name() const override { return module_name<I>; }

  uint32_t get_target(IServMain* main, const wchar_t* plugin_name) override {
    return target.emplace(plugin_name).GetPlugin(main);
  }

  // The servers still point to it.
  void release_target() override {
    if (target) target->Release();
  }

  std::unique_ptr<server_base> create_server() override {
    auto made = std::make_unique<P>();
    made->set_target(target ? &*target : nullptr);
    return made;
  }

  std::optional<ServMultiPlugin<I>> target;  // Since Init.
};

}  // namespace messaging::rpc
