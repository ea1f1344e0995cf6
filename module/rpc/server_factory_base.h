#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "module/frame/easy_event_queue.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/event_queue.h"
#include "module/platform/messaging.h"
#include "module/platform/process_info_db.h"
#include "module/rpc/comm_base.h"
#include "module/rpc/rw_lock.h"
#include "module/rpc/server_base.h"

namespace messaging::rpc {

// What server_factory<P> is for every P: the connection to the messaging library, and one
// server_base for each client on the channel.
//
// Messages and observers' calls come on threads of the messaging library; the host's event queue
// serves the requests.
class server_factory_base : public IServPlugin, public channel_observer, public comm_base {
 public:
  server_factory_base();
  server_factory_base(const server_factory_base&) = delete;
  server_factory_base& operator=(const server_factory_base&) = delete;
  virtual ~server_factory_base();

  void* GetInterface(const InterfaceId& id) override;
  // Returns 0, the status of fetching the implementation, or 5002.
  int32_t Init(IServMain* main) override;
  // Waits for the calls that run; those that have not begun are answered by 1223. The servers and
  // their subscriptions stay: what the implementation still tells them goes nowhere.
  void UnInit() override;
  int32_t Start() override { return 0; }
  void Stop() override {}

  void on_new_subscriber(const std::string& channel_name, const channel_subscriber& entry) override;
  void on_subscriber_removed(const std::string& channel_name,
                             const channel_subscriber& entry) override;

 protected:
  virtual const char* default_name() const = 0;
  virtual uint32_t get_target(IServMain* main, const wchar_t* plugin_name) = 0;
  virtual void release_target() = 0;
  // With the target set.
  virtual std::unique_ptr<server_base> create_server() = 0;

  std::variant<int32_t, std::string> gateway_setting = 1;

 private:
  using server_list = std::vector<std::unique_ptr<server_base>>;

  bool get_plugins(IServMain* main, std::wstring queue_name);
  void release_plugins();

  static void message_callback(message* received, void* user);
  void serve(message& request);
  bool serve_if_known(const std::string& client_id, int32_t pid, message& request);
  void refuse(message& request);

  std::shared_ptr<process_info> get_process(int32_t pid) const;

  // With servers_lock held, exclusively where they change something.
  server_list::iterator find_server(const std::string& client_id, int32_t pid);
  server_base& create_server_add_ref(const std::string& client_id, int32_t pid);
  void release_reference(server_list::iterator server);

  const logging::LogReference log_;
  const std::string server_id;

  // Held around every dispatch: shared, and so a slow call stops no other. What comes and goes
  // waits for it.
  rw_lock servers_lock;
  server_list servers;  // Guarded by servers_lock.

  // Fixed from Init to UnInit.
  channel_subscriber own_entry;
  ServPlugin<IOrnBaseInterface> process_info_plugin{kProcessInfoDb};
  messaging::process_info_raw* process_info_raw = nullptr;        // Of that plug-in.
  messaging::process_info_shared* process_info_shared = nullptr;  // Of that plug-in; may be null.
  ServPlugin<IEventQueue> queue_service{kGlobalEventQueue};
  ServPlugin<channel_gateway_factory> gateway_factory{kChannelGateway};
  channel_gateway* gateway = nullptr;
  // The gateway's; each stays callable after it.
  channel_factory* message_factory = nullptr;
  messaging::channel* channel_object = nullptr;
  messaging::receiver* receiver = nullptr;

  orn::EasyEventQueue queue;
};

}  // namespace messaging::rpc
