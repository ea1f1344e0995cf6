#include "module/rpc/client_base.h"

#include <chrono>
#include <optional>
#include <shared_mutex>
#include <string_view>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/scope_guard.h"
#include "module/frame/utf.h"
#include "module/platform/framework.h"
#include "module/rpc/properties.h"
#include "module/rpc/wire.h"

namespace messaging::rpc {
namespace {

using Connected =
    orn::Signal::MemberFunction<notifications, int, &notifications::on_server_connected>;
using Disconnected =
    orn::Signal::MemberFunction<notifications, int, &notifications::on_server_disconnected>;

constexpr orn::Signal::Event<Connected> kConnected;
constexpr orn::Signal::Event<Disconnected> kDisconnected;

bool AllowsImpersonation(IComponentManager* manager) {
  ServPlugin<Framework::IPluginConfig> config(L"Framework.Manager");
  if (config.GetPlugin(manager) == nullptr) return false;
  const wchar_t* const value = config->GetValue(L"messaging::rpc.AllowImpersonation");
  return value != nullptr && std::wstring_view(value) == L"1";
}

}  // namespace

int32_t client_base::init(IServMain* main, const char* default_name) {
  const LogFunctionTrace trace(L"messaging::rpc::client::Init");
  fill_in_names(default_name);
  channel_gateway_factory* const factory = gateway_factory.obtain(main);
  const std::wstring queue_name = L"rpc." + std::wstring(orn::ToWide(name).view());
  if (main != nullptr) {
    attach_to_host(*main, queue_name);
  } else {
    event_queue.AttachLoaded(queue_name);
  }
  gateway = factory == nullptr
                ? nullptr
                : factory->create(
                      {.channel = channel, .options = kGatewayOptions, .setting = gateway_setting});
  if (gateway == nullptr) return error::kMissingDependency;

  channel_object = gateway->get_factory()->open_channel(channel.c_str());
  receiving_end = channel_object->get_receiver();
  receiving_end->set_callback(message_callback, this, kReceiverOptions);
  holder.init(channel_object);

  // A server that is there already is reported to the observer, and must know the client by then.
  gateway->add_subscriber(own_entry());
  gateway->add_observer(this);
  return error::kSuccess;
}

void client_base::attach_to_host(IServMain& main, const std::wstring& queue_name) {
  IComponentManager* const manager = main.GetComponentManager();
  if (AllowsImpersonation(manager)) caller_info.GetPlugin(manager);
  event_queue.Attach(queue_service.GetPlugin(manager), queue_name);
}

void client_base::uninit() {
  const LogFunctionTrace trace(L"messaging::rpc::client::UnInit");
  {
    const std::shared_lock lock(subscribers_lock);
    if (!subscribers.empty()) {
      ORN_LOG(logging::kWarning, trace.function(), L"[%S] There are unregistered subscribers",
              name.c_str());
    }
  }
  if (gateway != nullptr) {
    gateway->remove_observer(this);
    gateway->remove_subscriber(own_entry());
  }
  holder.uninit();
  if (gateway != nullptr) channel_object->close_receiver(receiving_end);
  event_queue.Detach();
  queue_service.Release();
  if (gateway != nullptr) gateway_factory.get()->destroy(gateway);
  gateway_factory.release();
  caller_info.Release();
  channel_object = nullptr;
  receiving_end = nullptr;
  gateway = nullptr;
}

channel_subscriber client_base::own_entry() const {
  channel_subscriber entry;
  entry.channel = channel;
  entry.id = client_id;
  write_int_property(entry, kSubscriberType, kClient);
  entry.properties[kClientId] = client_id;
  return entry;
}

bool client_base::register_notifications(notifications* handler) {
  return signal.Register(handler, {});
}

bool client_base::unregister_notifications(notifications* handler) {
  if (handler == nullptr) return false;
  return signal.Unregister([&](const notifications* each) { return each == handler; });
}

bool client_base::is_connected(uint32_t* pid) {
  if (pid != nullptr) *pid = server_pid;
  return connected != 0;
}

bool client_base::wait_for_connection(uint32_t timeout) {
  return connected_event.wait(timeout);
}

std::pair<int32_t, uint32_t> client_base::get_timeouts() {
  return {first_request_timeout, default_timeout};
}

bool client_base::is_server(const std::string& channel_name,
                            const channel_subscriber& entry) const {
  return channel_name == channel && int_property(entry, kSubscriberType) == kServer;
}

void client_base::on_new_subscriber(const std::string& channel_name,
                                    const channel_subscriber& entry) {
  if (!is_server(channel_name, entry)) return;
  ORN_LOG(logging::kInformation, L"messaging::rpc::client::on_new_subscriber",
          L"[%S] server connected", name.c_str());
  server_pid = static_cast<uint32_t>(entry.pid);
  connected = 1;
  signal.Invoke(kConnected, entry.pid);
  connected_event.set();
  holder.set_state(true);
}

void client_base::on_subscriber_removed(const std::string& channel_name,
                                        const channel_subscriber& entry) {
  if (!is_server(channel_name, entry)) return;
  ORN_LOG(logging::kInformation, L"messaging::rpc::client::on_subscriber_removed",
          L"[%S] server disconnected", name.c_str());
  connected_event.reset();
  connected = 0;
  server_pid = static_cast<uint32_t>(entry.pid);
  signal.Invoke(kDisconnected, entry.pid);
  holder.set_state(false);
}

int32_t client_base::send_request(int32_t method_id, const ParameterList& input,
                                  ParameterList& output, uint32_t timeout) {
  constexpr const wchar_t* kFunction = L"messaging::rpc::client::send_request";
  if (timeout == 0) timeout = default_timeout;
  const auto start = std::chrono::steady_clock::now();
  ORN_LOG(logging::kTrace, kFunction, L"--> [%S] send_request [method: %d]", name.c_str(),
          method_id);
  const orn::ScopeGuard end([&] {
    const std::chrono::nanoseconds duration = std::chrono::steady_clock::now() - start;
    ORN_LOG(logging::kTrace, kFunction, L"<-- [%S] end send_request [method: %d] [duration: %d]",
            name.c_str(), method_id, static_cast<int>(duration.count() / 1'000'000));
  });
  if (!execute_first_request_procedure() || channel_object == nullptr) return error::kNotConnected;

  const message_ptr call = make_message();
  call->set_type(kMethodCall);
  call->set_int(kMethodId, method_id);
  call->set_string(kClientId, client_id.c_str());
  call->set_int(kSerialize, 0);
  input.SaveTo(*call);
  state_caller(*call);

  message* answer = nullptr;
  channel_object->send(call.get(), &answer, timeout | messaging::channel::kMilliseconds);
  if (answer != nullptr) return read_reply(*message_ptr::adopt(answer), output);

  ORN_LOG(logging::kWarning, kFunction, L"[%S] no reply received", name.c_str());
  if (connected != 0) return error::kTimeout;
  ORN_LOG(logging::kWarning, kFunction, L"[%S] object not connected", name.c_str());
  return error::kNotConnected;
}

// Also where the data does not load: the list is empty then.
int32_t client_base::read_reply(const message& reply, ParameterList& output) const {
  const std::optional<int32_t> status = int_field(reply, kReturnValue);
  if (!status) return error::kNotAdded;
  output.LoadFrom(reply);
  return *status;
}

message_ptr client_base::make_message() const {
  return message_ptr::adopt(gateway->get_factory()->create_message(kMessageOptions));
}

void client_base::state_caller(message& call) const {
  if (!caller_info) return;
  const EnterpriseIntegration::CallerInfo* const caller = caller_info->GetCaller();
  if (caller == nullptr || static_cast<uint32_t>(caller->pid) == own_pid) return;
  call.set_int(kImpersonatedPid, caller->pid);
  call.set_string(kImpersonatedPath, orn::ToUtf8(caller->path).c_str());
  call.set_int(kImpersonatedAdmin, caller->admin ? 1 : 0);
}

// A process that starts together with the server is not to fail its first call only because the
// server's announcement is still on its way. That wait is paid once in the life of the client.
bool client_base::execute_first_request_procedure() {
  if (connected == 0) {
    ORN_LOG(logging::kTrace, L"messaging::rpc::client::execute_first_request_procedure",
            L"[%S] object not connected...", name.c_str());
    run_first_request_procedure();
  } else {
    disable_first_request_procedure();
  }
  return connected != 0;
}

bool client_base::run_first_request_procedure() {
  constexpr const wchar_t* kFunction = L"messaging::rpc::client::run_first_request_procedure";
  if (first_request_timeout <= 0 || first_request_done.exchange(1) != 0) return false;
  ORN_LOG(logging::kTrace, kFunction, L"[%S] running first request procedure...", name.c_str());
  wait_for_connection(static_cast<uint32_t>(first_request_timeout));
  ORN_LOG(logging::kTrace, kFunction,
          L"[%S] finished running first request procedure. Connected: [%d]", name.c_str(),
          connected.load());
  return true;
}

void client_base::disable_first_request_procedure() {
  if (first_request_done.exchange(1) != 0) return;
  ORN_LOG(logging::kTrace, L"messaging::rpc::client::disable_first_request_procedure",
          L"[%S] Disabled first request procedure because object is already connected",
          name.c_str());
}

}  // namespace messaging::rpc
