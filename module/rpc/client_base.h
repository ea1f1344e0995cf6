#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "module/frame/easy_event_queue.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/endpoint_integration.h"
#include "module/platform/event_queue.h"
#include "module/platform/messaging.h"
#include "module/rpc/client_handler.h"
#include "module/rpc/client_subscriber.h"
#include "module/rpc/comm_base.h"
#include "module/rpc/connection_event.h"
#include "module/rpc/delayed_method_holder.h"
#include "module/rpc/gateway_factory_holder.h"
#include "module/rpc/identity.h"
#include "module/rpc/message_ptr.h"
#include "module/rpc/parameter_list.h"
#include "module/rpc/persistent_signal.h"
#include "module/rpc/rw_lock.h"

namespace messaging::rpc {

// What client<I> is for every I: the connection to the messaging library, whether a server is
// there, the wait for one that is not up yet, and the subscriptions with the delivery of events.
class client_base : public client_handler, public channel_observer, public comm_base {
 public:
  bool register_notifications(notifications* handler) override;
  bool unregister_notifications(notifications* handler) override;
  bool is_connected(uint32_t* pid) override;
  bool wait_for_connection(uint32_t timeout) override;
  std::pair<int32_t, uint32_t> get_timeouts() override;

  // Called by the gateway, one at a time.
  void on_new_subscriber(const std::string& channel_name, const channel_subscriber& entry) override;
  void on_subscriber_removed(const std::string& channel_name,
                             const channel_subscriber& entry) override;

 protected:
  client_base() = default;
  virtual ~client_base() = default;

  // Returns 0, or 5002 without a messaging library; then the client makes no calls, yet `uninit`
  // ends it as ever.
  int32_t init(IServMain* main, const char* default_name);
  // Calls and subscriptions are to have ended.
  void uninit();

  // Calls a method of the server and waits, at most `timeout` milliseconds, 0 being the default.
  // Returns the status of the call: the server's; 2250 where no server is there, or went away; 1460
  // where none answered in time; or 5023. What the server gave comes into `output` whatever it
  // returned. Any thread, several at once; no lock is held meanwhile.
  int32_t send_request(int32_t method_id, const ParameterList& input, ParameterList& output,
                       uint32_t timeout = 0);

  // `handler` is what tells subscribers of an interface apart.
  bool add_subscriber(std::unique_ptr<client_subscriber_base> subscriber, void* handler,
                      int32_t interface_id, const std::string& subscriber_id,
                      const std::map<std::string, std::string>& properties);
  bool remove_subscriber(const void* handler, int32_t interface_id);

  // The receiver's callback; `user` is the client.
  static void message_callback(message* received, void* user);

  // Fixed once Init has begun.
  const std::string client_id = make_identity(kClientPrefix);
  std::variant<int32_t, std::string> gateway_setting = 1;
  // How long the first call waits for a server, in milliseconds; 0 or less is not at all.
  int32_t first_request_timeout = 5000;
  uint32_t own_pid = current_process_id();

 private:
  using subscriber_list = std::vector<std::unique_ptr<client_subscriber_base>>;

  void attach_to_host(IServMain& main, const std::wstring& queue_name);
  channel_subscriber own_entry() const;
  bool is_server(const std::string& channel_name, const channel_subscriber& entry) const;

  bool execute_first_request_procedure();
  bool run_first_request_procedure();
  void disable_first_request_procedure();

  message_ptr make_message() const;
  void state_caller(message& call) const;
  int32_t read_reply(const message& reply, ParameterList& output) const;

  void receive(message* received);
  void deliver(message& event);
  subscriber_list::iterator find_subscriber(const void* handler, int32_t interface_id);

  // Changed in Init and UnInit only. The handles are not owned.
  messaging::channel* channel_object = nullptr;
  receiver* receiving_end = nullptr;
  channel_gateway* gateway = nullptr;
  gateway_factory_holder gateway_factory;
  ServPlugin<EnterpriseIntegration::ICallerInfoQuery> caller_info{L"EndpointIntegration.Manager"};
  ServPlugin<IEventQueue> queue_service{kGlobalEventQueue};
  orn::EasyEventQueue event_queue;

  // Synchronise themselves. The process id is written before `connected` rises, and the event is
  // cleared before it falls.
  std::atomic<int32_t> connected{0};
  std::atomic<uint32_t> server_pid{0};
  std::atomic<int32_t> first_request_done{0};
  connection_event connected_event;
  delayed_method_holder holder{name};
  orn::Signal::PersistentSignal<notifications> signal;

  // Held shared while an event is handled.
  rw_lock subscribers_lock;
  subscriber_list subscribers;  // Guarded by subscribers_lock.
};

}  // namespace messaging::rpc
