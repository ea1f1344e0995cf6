#include "tests/processes/raw_peer.h"

namespace remote_calls {

using namespace messaging;
using messaging::rpc::message_ptr;

RawPeer::RawPeer(const std::string& module, Handler handler)
    : channel_name_("TsrComm." + module), handler_(std::move(handler)) {
  gateway_ = holder_.obtain(/*main=*/nullptr)->create({.channel = channel_name_});
  channel_ = gateway_->get_factory()->open_channel(channel_name_.c_str());
  channel_->get_receiver()->set_callback(&RawPeer::Receive, this, rpc::kReceiverOptions);
  gateway_->add_observer(this);
}

RawPeer::~RawPeer() {
  gateway_->remove_observer(this);
  channel_->close_receiver(channel_->get_receiver());
  holder_.get()->destroy(gateway_);
}

void RawPeer::Announce(rpc::subscriber_type type, const std::string& id, int32_t pid) {
  gateway_->add_subscriber(
      {.pid = pid,
       .channel = channel_name_,
       .id = id,
       .properties = {{rpc::kSubscriberType, std::to_string(type)}, {rpc::kClientId, id}}});
}

message_ptr RawPeer::NewMessage(int32_t type, Numbers numbers, Texts texts) {
  auto made = message_ptr::adopt(gateway_->get_factory()->create_message(rpc::kMessageOptions));
  made->set_type(type);
  for (const auto& [name, value] : numbers)
    made->set_int(name, value);
  for (const auto& [name, value] : texts)
    made->set_string(name, value.c_str());
  return made;
}

int32_t RawPeer::Call(message& called) {
  message* answer = nullptr;
  channel_->send(&called, &answer, channel::kMilliseconds | 60000);
  const auto kept = message_ptr::adopt(answer);
  return kept ? kept->get_int(rpc::kReturnValue) : kNoAnswer;
}

channel_subscriber RawPeer::Await(rpc::subscriber_type type) {
  std::unique_lock lock(mutex_);
  const std::string wanted = std::to_string(type);
  came_.wait(lock, [&] { return entries_.contains(wanted); });
  return entries_[wanted];
}

void RawPeer::on_new_subscriber(const std::string&, const channel_subscriber& entry) {
  const auto type = entry.properties.find(rpc::kSubscriberType);
  if (type == entry.properties.end()) return;
  const std::lock_guard lock(mutex_);
  entries_[type->second] = entry;
  came_.notify_all();
}

void RawPeer::Receive(message* received, void* user) {
  const Handler& handler = static_cast<RawPeer*>(user)->handler_;
  if (handler) handler(*received);
}

}  // namespace remote_calls
