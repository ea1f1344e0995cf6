#include "module/rpc/server_subscriber.h"

#include "module/rpc/message_ptr.h"
#include "module/rpc/wire.h"

namespace messaging::rpc {

void server_subscriber::send_event(int32_t method_id, const ParameterList& event) const {
  const message_ptr sent = message_ptr::adopt(message_factory->create_message(kMessageOptions));
  sent->set_type(kOneWayEvent);
  sent->set_int(kSerialize, 1);
  sent->set_int(kInterfaceNumber, interface_id);
  sent->set_int(kMethodId, method_id);
  sent->set_string(kSubscriberId, id.c_str());
  sent->set_string(kClientId, client_id->c_str());
  sent->set_int(kSubscriberPid, entry.pid);
  event.SaveTo(*sent);
  channel_object->post(sent.get());
}

}  // namespace messaging::rpc
