#include <algorithm>
#include <mutex>
#include <shared_mutex>

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/rpc/client_base.h"
#include "module/rpc/properties.h"
#include "module/rpc/wire.h"

// The half of the client that subscribes and delivers events.
namespace messaging::rpc {

bool client_base::add_subscriber(std::unique_ptr<client_subscriber_base> subscriber, void* handler,
                                 int32_t interface_id, const std::string& subscriber_id,
                                 const std::map<std::string, std::string>& properties) {
  const LogFunctionTrace trace(L"messaging::rpc::client::register_subscriber");
  subscriber->handler = handler;
  subscriber->pid = own_pid;
  subscriber->channel = channel;
  subscriber->id = subscriber_id.empty() ? make_identity(kAnonymousPrefix) : subscriber_id;
  subscriber->properties = properties;
  subscriber->interface_id = interface_id;

  channel_subscriber entry;
  entry.pid = static_cast<int32_t>(own_pid);
  entry.channel = channel;
  entry.id = subscriber->id;
  entry.properties = properties;
  write_int_property(entry, kInterfaceNumber, interface_id);
  entry.properties[kClientId] = client_id;
  entry.properties[kSubscriberId] = subscriber->id;
  write_int_property(entry, kSubscriberType, kEventSubscriber);

  const std::lock_guard lock(subscribers_lock);
  if (find_subscriber(handler, interface_id) != subscribers.end()) {
    ORN_LOG(logging::kWarning, trace.function(), L"Subscriber not registered on interface %d",
            interface_id);
    return false;
  }
  subscribers.push_back(std::move(subscriber));
  if (gateway != nullptr) gateway->add_subscriber(entry);
  return true;
}

bool client_base::remove_subscriber(const void* handler, int32_t interface_id) {
  const LogFunctionTrace trace(L"messaging::rpc::client::unregister_subscriber");
  const std::lock_guard lock(subscribers_lock);
  const auto found = find_subscriber(handler, interface_id);
  if (found == subscribers.end()) {
    ORN_LOG(logging::kWarning, trace.function(), L"Subscriber already registered on interface %d",
            interface_id);
    return false;
  }
  channel_subscriber entry;
  entry.channel = (*found)->channel;
  entry.id = (*found)->id;
  if (gateway != nullptr) gateway->remove_subscriber(entry);
  subscribers.erase(found);
  return true;
}

client_base::subscriber_list::iterator client_base::find_subscriber(const void* handler,
                                                                    int32_t interface_id) {
  return std::find_if(subscribers.begin(), subscribers.end(), [&](const auto& subscriber) {
    return subscriber->interface_id == interface_id && subscriber->handler == handler;
  });
}

void client_base::message_callback(message* received, void* user) {
  static_cast<client_base*>(user)->receive(received);
}

// Only filters: the handlers' code runs on the queue and cannot hold the messaging library up.
void client_base::receive(message* received) {
  const int32_t type = received->get_type();
  if (type != kOneWayEvent && type != kAnsweredEvent) return;

  const auto subscriber_pid = int_field(*received, kSubscriberPid);
  const char* const client = string_field(*received, kClientId);
  const char* const subscriber = string_field(*received, kSubscriberId);
  const auto interface_id = int_field(*received, kInterfaceNumber);
  if (!subscriber_pid || client == nullptr || subscriber == nullptr || !interface_id) return;
  if (static_cast<uint32_t>(*subscriber_pid) != own_pid || client_id != client) return;

  const message_ptr event = message_ptr::share(received);
  orn::EasyEventQueue::Function main = [this, event] { deliver(*event); };
  orn::EasyEventQueue::Function cancel;
  if (type == kAnsweredEvent) {
    cancel = [this, event] {
      const message_ptr refusal = make_message();
      refusal->set_int(kReturnValue, error::kAborted);
      event->reply(refusal.get());
    };
  }
  if (int_field(*received, kSerialize).value_or(1) != 0) {
    event_queue.AddSerialTask({*interface_id, subscriber}, std::move(main), std::move(cancel));
  } else {
    event_queue.AddTask(std::move(main), std::move(cancel)).Release();
  }
}

void client_base::deliver(message& event) {
  const char* const id = string_field(event, kSubscriberId);
  const auto interface_id = int_field(event, kInterfaceNumber);
  const auto method_id = int_field(event, kMethodId);
  ParameterList input;
  if (id == nullptr || !interface_id || !method_id || !input.LoadFrom(event)) return;

  const std::shared_lock lock(subscribers_lock);
  const auto found =
      std::find_if(subscribers.begin(), subscribers.end(), [&](const auto& subscriber) {
        return subscriber->id == id && subscriber->interface_id == *interface_id;
      });
  if (found == subscribers.end()) return;
  ParameterList output;
  const int32_t status = (*found)->handle(*method_id, input, output);
  if (event.get_type() != kAnsweredEvent) return;
  const message_ptr answer = make_message();
  answer->set_int(kReturnValue, status);
  output.SaveTo(*answer);
  event.reply(answer.get());
}

}  // namespace messaging::rpc
