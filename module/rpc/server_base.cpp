#include "module/rpc/server_base.h"

#include <algorithm>
#include <optional>

#include "module/frame/log.h"
#include "module/rpc/identity.h"
#include "module/rpc/message_ptr.h"
#include "module/rpc/properties.h"
#include "module/rpc/wire.h"

namespace messaging::rpc {

namespace {

constexpr const wchar_t* kDispatch = L"messaging::rpc::server::dispatch_method";

// An event subscriber's entry as the plug-in is to see it.
struct subscription {
  channel_subscriber entry;
  int32_t interface_id = 0;
};

std::optional<subscription> read_subscription(const channel_subscriber& entry) {
  const auto interface_id = int_property(entry, kInterfaceNumber);
  if (!interface_id || string_property(entry, kSubscriberId) == nullptr) return std::nullopt;
  subscription result{.entry = entry, .interface_id = *interface_id};
  if (result.entry.id.starts_with(kAnonymousPrefix)) result.entry.id.clear();
  return result;
}

// On whose behalf `request` says that it is made, if it says all that is needed.
std::optional<process_info> read_claim(const message& request) {
  const auto pid = int_field(request, kImpersonatedPid);
  const char* const path = string_field(request, kImpersonatedPath);
  const auto admin = int_field(request, kImpersonatedAdmin);
  if (!pid || path == nullptr || !admin) return std::nullopt;
  return process_info{.pid = *pid, .path = path, .admin = *admin == 1, .kind = 0};
}

bool may_claim(const process_info& real) {
  return real.kind == 1 || real.admin;
}

}  // namespace

void server_base::on_unknown_subscriber_added(int32_t, const channel_subscriber&) {}

void server_base::on_unknown_subscriber_removed(int32_t, const channel_subscriber&) {}

int32_t server_base::on_unknown_method(int32_t, method_info&) {
  return static_cast<int32_t>(error::kUnknownMethod);
}

void server_base::fill_in(const comm_base* owner, channel_subscriber client,
                          std::shared_ptr<process_info> client_process, channel_factory* messages,
                          messaging::channel* events) {
  comm = owner;
  client_entry = std::move(client);
  process = std::move(client_process);
  message_factory = messages;
  channel_object = events;
}

void server_base::add_subscriber(const channel_subscriber& entry) {
  const auto added = read_subscription(entry);
  if (!added) return;
  if (const auto known = callbacks.find(added->interface_id); known != callbacks.end()) {
    known->second.add(added->entry);
  } else {
    on_unknown_subscriber_added(added->interface_id, added->entry);
  }
}

void server_base::remove_subscriber(const channel_subscriber& entry) {
  const auto removed = read_subscription(entry);
  if (!removed) return;
  if (const auto known = callbacks.find(removed->interface_id); known != callbacks.end()) {
    known->second.remove(removed->entry);
  } else {
    on_unknown_subscriber_removed(removed->interface_id, removed->entry);
  }
}

void server_base::remove_all_subscribers() {
  while (!subscribers.empty()) {
    const server_subscriber& last = *subscribers.back();
    callbacks.at(last.interface_id).remove(channel_subscriber(last.entry));
  }
}

void server_base::fill_in_subscriber(server_subscriber& subscriber, int32_t interface_id,
                                     const channel_subscriber& entry) const {
  subscriber.message_factory = message_factory;
  subscriber.channel_object = channel_object;
  subscriber.entry = entry;
  subscriber.interface_id = interface_id;
  subscriber.id = *string_property(entry, kSubscriberId);
  subscriber.client_id = &client_entry.id;
}

server_base::subscriber_list::iterator server_base::find_subscriber(
    int32_t interface_id, const channel_subscriber& entry) {
  const std::string& id = *string_property(entry, kSubscriberId);
  return std::ranges::find_if(subscribers, [&](const auto& subscriber) {
    return subscriber->entry.pid == entry.pid && subscriber->interface_id == interface_id &&
           subscriber->id == id;
  });
}

void server_base::handle(message& request) {
  ParameterList input;
  ParameterList output;
  const int32_t result = input.LoadFrom(request) ? run(request, input, output)
                                                 : static_cast<int32_t>(error::kBadParameter);
  if (request.get_type() != kMethodCall) return;
  const message_ptr answer = message_ptr::adopt(message_factory->create_message(kMessageOptions));
  answer->set_int(kReturnValue, result);
  output.SaveTo(*answer);
  request.reply(answer.get());
}

int32_t server_base::run(const message& request, const ParameterList& input,
                         ParameterList& output) {
  const auto method_id = int_field(request, kMethodId);
  if (!method_id) return static_cast<int32_t>(error::kBadParameter);
  const std::shared_ptr<process_info> real = process;
  const auto claim = may_claim(*real) ? read_claim(request) : std::nullopt;
  method_info info{.input = &input,
                   .output = &output,
                   .impersonated = claim.has_value(),
                   .caller = claim ? &*claim : real.get()};
  return dispatch_method(*method_id, info);
}

int32_t server_base::dispatch_method(int32_t method_id, method_info& info) {
  const auto method = methods.find(method_id);
  if (method == methods.end()) {
    // Who may not call tells nothing apart.
    return info.caller->admin ? on_unknown_method(method_id, info)
                              : static_cast<int32_t>(error::kDenied);
  }
  if (method->second.admin_required && !info.caller->admin) {
    ORN_LOG(logging::kWarning, kDispatch, L"[%S] method [%d] not allowed by ACL",
            comm->get_name().c_str(), method_id);
    return static_cast<int32_t>(error::kDenied);
  }
  ORN_LOG(logging::kTrace, kDispatch,
          L"[%S] dispatching method [%d] from pid: [%d]. Impersonated: [%d]. Real PID: [%d]",
          comm->get_name().c_str(), method_id, info.caller->pid, info.impersonated ? 1 : 0,
          process->pid);
  return method->second.call(info);
}

}  // namespace messaging::rpc
