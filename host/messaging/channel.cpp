#include "host/messaging/channel.h"

#include "host/messaging/gateway.h"
#include "host/messaging/node.h"
#include "module/frame/error_codes.h"

namespace host::channels {

uint32_t Channel::post(messaging::message* sent) {
  const std::shared_ptr<Node> node = gateway_.node();
  if (node == nullptr) return error::kNotConnected;
  return node->Post(gateway_, name_, static_cast<Message*>(sent)->content());
}

uint32_t Channel::send(messaging::message* sent, messaging::message** answer, uint32_t timeout) {
  *answer = nullptr;
  const std::shared_ptr<Node> node = gateway_.node();
  if (node == nullptr) return error::kNotConnected;
  const auto call = std::make_shared<PendingCall>(node->NextCallId());
  if (!gateway_.AddCall(call)) return error::kNotConnected;
  const Deadline deadline(timeout & ~kMilliseconds);
  const uint32_t status =
      node->Send(gateway_, name_, static_cast<Message*>(sent)->content(), call, deadline);
  gateway_.RemoveCall(call);
  if (std::optional<MessageContent> content = call->TakeAnswer()) {
    *answer = new Message(std::make_shared<MessageContent>(std::move(*content)), /*sender=*/0,
                          /*target=*/nullptr);
    return 0;
  }
  if (status != 0) return status;
  return call->done() ? error::kNotConnected : error::kTimeout;
}

void Channel::close_receiver(messaging::receiver*) {
  set_callback(nullptr, nullptr, /*options=*/0);
}

void Channel::set_callback(callback function, void* user, uint32_t) {
  Lock lock(mutex_);
  function_ = function;
  user_ = user;
  idle_.Wait(lock, [this] { return running_ == 0; });
}

void Channel::Receive(Message* message) {
  Lock lock(mutex_);
  const callback function = function_;
  void* const user = user_;
  if (function == nullptr) return;
  ++running_;
  lock.unlock();
  function(message, user);
  lock.lock();
  if (--running_ == 0) idle_.NotifyAll();
}

}  // namespace host::channels
