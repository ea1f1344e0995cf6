#include "module/rpc/server_factory_base.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <utility>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/scope_guard.h"
#include "module/frame/utf.h"
#include "module/rpc/identity.h"
#include "module/rpc/message_ptr.h"
#include "module/rpc/properties.h"
#include "module/rpc/wire.h"

namespace messaging::rpc {

namespace {

// What the messaging library says of who sent it; the message itself is not asked.
std::optional<int32_t> sender_process(const message& received) {
  uint32_t pid = 0;
  if (!received.get_property(message::kSenderProcess, &pid)) return std::nullopt;
  return static_cast<int32_t>(pid != 0 ? pid : current_process_id());
}

// The client that an entry belongs to; null where it belongs to none.
const std::string* client_of(const channel_subscriber& entry) {
  const auto type = int_property(entry, kSubscriberType);
  return type && *type != kServer ? string_property(entry, kClientId) : nullptr;
}

bool is_event_subscriber(const channel_subscriber& entry) {
  return int_property(entry, kSubscriberType) == kEventSubscriber;
}

}  // namespace

server_factory_base::server_factory_base() : server_id(make_identity(kServerPrefix)) {}

server_factory_base::~server_factory_base() = default;

void* server_factory_base::GetInterface(const InterfaceId& id) {
  if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
    return static_cast<IServPlugin*>(this);
  }
  return nullptr;
}

int32_t server_factory_base::Init(IServMain* main) {
  const LogFunctionTrace trace(L"messaging::rpc::server_factory::Init");
  fill_in_names(default_name());
  const orn::StringT<wchar_t> wide_name = orn::ToWide(name);
  if (const uint32_t status = get_target(main, wide_name.c_str()); status != error::kSuccess) {
    return static_cast<int32_t>(status);
  }
  orn::ScopeGuard release([this] { release_plugins(); });
  if (!get_plugins(main, L"rpcs." + std::wstring(wide_name.view()))) {
    return static_cast<int32_t>(error::kMissingDependency);
  }
  gateway = gateway_factory->create(
      {.channel = channel, .options = kGatewayOptions, .setting = gateway_setting});
  if (gateway == nullptr) return static_cast<int32_t>(error::kMissingDependency);
  release.Dismiss();

  message_factory = gateway->get_factory();
  channel_object = message_factory->open_channel(channel.c_str());
  receiver = channel_object->get_receiver();
  receiver->set_callback(&server_factory_base::message_callback, this, kReceiverOptions);

  own_entry.channel = channel;
  own_entry.id = server_id;
  write_int_property(own_entry, kSubscriberType, kServer);
  gateway->add_subscriber(own_entry);
  gateway->add_observer(this);
  return 0;
}

bool server_factory_base::get_plugins(IServMain* main, std::wstring queue_name) {
  IComponentManager* const manager = main->GetComponentManager();
  if (gateway_factory.GetPlugin(manager) == nullptr ||
      process_info_plugin.GetPlugin(manager) == nullptr ||
      queue_service.GetPlugin(manager) == nullptr) {
    return false;
  }
  queue.Attach(queue_service.get(), std::move(queue_name));
  process_info_raw = static_cast<messaging::process_info_raw*>(
      process_info_plugin->GetInterface(messaging::process_info_raw::kInterfaceId));
  process_info_shared = static_cast<messaging::process_info_shared*>(
      process_info_plugin->GetInterface(messaging::process_info_shared::kInterfaceId));
  return process_info_raw != nullptr || process_info_shared != nullptr;
}

void server_factory_base::UnInit() {
  const LogFunctionTrace trace(L"messaging::rpc::server_factory::UnInit");
  if (gateway != nullptr) {
    gateway->remove_observer(this);
    gateway->remove_subscriber(own_entry);
    channel_object->close_receiver(receiver);
    // Whoever waits for a call that has not begun is answered here: that needs no receiver.
    queue.Detach();
    gateway_factory->destroy(gateway);
  }
  release_plugins();
}

void server_factory_base::release_plugins() {
  queue.Detach();
  release_target();
  process_info_raw = nullptr;
  process_info_shared = nullptr;
  process_info_plugin.Release();
  gateway_factory.Release();
  queue_service.Release();
  gateway = nullptr;
  receiver = nullptr;
  channel_object = nullptr;
  message_factory = nullptr;
}

void server_factory_base::on_new_subscriber(const std::string& channel_name,
                                            const channel_subscriber& entry) {
  if (channel_name != channel) return;
  const std::string* const client_id = client_of(entry);
  if (client_id == nullptr) return;
  const std::unique_lock lock(servers_lock);
  server_base& server = create_server_add_ref(*client_id, entry.pid);
  if (is_event_subscriber(entry)) server.add_subscriber(entry);
}

void server_factory_base::on_subscriber_removed(const std::string& channel_name,
                                                const channel_subscriber& entry) {
  if (channel_name != channel) return;
  const std::string* const client_id = client_of(entry);
  if (client_id == nullptr) return;
  const std::unique_lock lock(servers_lock);
  const auto server = find_server(*client_id, entry.pid);
  if (server == servers.end()) return;
  if (is_event_subscriber(entry)) (*server)->remove_subscriber(entry);
  release_reference(server);
}

void server_factory_base::message_callback(message* received, void* user) {
  const int32_t type = received->get_type();
  if (type != kOneWayCall && type != kMethodCall) return;
  auto* const self = static_cast<server_factory_base*>(user);
  orn::EasyEventQueue::Function main = [self, request = message_ptr::share(received)] {
    self->serve(*request);
  };
  orn::EasyEventQueue::Function cancel;
  if (type == kMethodCall) {
    cancel = [self, request = message_ptr::share(received)] { self->refuse(*request); };
  }
  if (int_field(*received, kSerialize).value_or(0) != 0) {
    const auto pid = sender_process(*received);
    const char* const client_id = string_field(*received, kClientId);
    if (pid && client_id != nullptr) {
      self->queue.AddSerialTask({*pid, client_id}, std::move(main), std::move(cancel));
      return;
    }
  }
  self->queue.AddTask(std::move(main), std::move(cancel)).Release();
}

void server_factory_base::serve(message& request) {
  const auto pid = sender_process(request);
  const char* const id = string_field(request, kClientId);
  if (!pid || id == nullptr) return;
  const std::string client_id = id;
  if (serve_if_known(client_id, *pid, request)) return;
  // The call has outrun the client's entry, or the entry is gone already. Only for the call there
  // is a server, then.
  {
    const std::unique_lock lock(servers_lock);
    create_server_add_ref(client_id, *pid);
  }
  serve_if_known(client_id, *pid, request);
  const std::unique_lock lock(servers_lock);
  release_reference(find_server(client_id, *pid));
}

bool server_factory_base::serve_if_known(const std::string& client_id, int32_t pid,
                                         message& request) {
  const std::shared_lock lock(servers_lock);
  const auto server = find_server(client_id, pid);
  if (server == servers.end()) return false;
  (*server)->handle(request);
  return true;
}

void server_factory_base::refuse(message& request) {
  const message_ptr answer = message_ptr::adopt(message_factory->create_message(kMessageOptions));
  answer->set_int(kReturnValue, static_cast<int32_t>(error::kAborted));
  request.reply(answer.get());
}

std::shared_ptr<process_info> server_factory_base::get_process(int32_t pid) const {
  if (process_info_shared != nullptr) return process_info_shared->get(pid);
  process_record record;
  process_info_raw->get(pid, record);
  return std::make_shared<process_info>(
      process_info{.pid = record.pid, .path = record.path, .admin = record.admin, .kind = 0});
}

server_factory_base::server_list::iterator server_factory_base::find_server(
    const std::string& client_id, int32_t pid) {
  return std::ranges::find_if(servers,
                              [&](const auto& server) { return server->is_for(client_id, pid); });
}

server_base& server_factory_base::create_server_add_ref(const std::string& client_id, int32_t pid) {
  if (const auto known = find_server(client_id, pid); known != servers.end()) {
    (*known)->add_reference();
    return **known;
  }
  channel_subscriber client;
  client.pid = pid;
  client.id = client_id;
  std::shared_ptr<process_info> process = get_process(pid);
  std::unique_ptr<server_base> server = create_server();
  server->fill_in(this, std::move(client), std::move(process), message_factory, channel_object);
  server->add_reference();
  server->on_created();
  servers.push_back(std::move(server));
  if (pid == static_cast<int32_t>(current_process_id())) {
    ORN_LOG(logging::kInformation, L"messaging::rpc::server_factory::create_server_add_ref",
            L"[%S] server created in the same process as the client", name.c_str());
  }
  return *servers.back();
}

void server_factory_base::release_reference(server_list::iterator server) {
  if (!(*server)->release_reference()) return;
  (*server)->remove_all_subscribers();
  (*server)->on_destroyed();
  servers.erase(server);
}

}  // namespace messaging::rpc
