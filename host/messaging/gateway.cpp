#include "host/messaging/gateway.h"

#include <algorithm>
#include <utility>

#include "host/messaging/node.h"
#include "module/frame/thread_name.h"

namespace host::channels {

Gateway::Gateway(std::string channel, std::shared_ptr<Node> node)
    : channel_(std::move(channel)), node_(std::move(node)) {}

void Gateway::Close() {
  std::shared_ptr<Node> node;
  std::vector<std::shared_ptr<PendingCall>> calls;
  std::vector<Channel*> channels;
  {
    const Lock lock(mutex_);
    node.swap(node_);
    calls.swap(calls_);
    for (const auto& [name, channel] : channels_)
      channels.push_back(channel.get());
  }
  if (node == nullptr) return;
  node->Remove(*this);
  for (const std::shared_ptr<PendingCall>& call : calls)
    call->Cancel();
  for (Channel* const channel : channels)
    channel->close_receiver(channel);
  std::thread thread;
  {
    const Lock lock(observers_mutex_);
    stopping_ = true;
    notices_.clear();
    observers_.clear();
    thread.swap(thread_);
    changed_.NotifyAll();
  }
  if (thread.joinable()) thread.join();
}

void Gateway::add_observer(messaging::channel_observer* observer) {
  const std::shared_ptr<Node> own_node = node();
  if (own_node == nullptr || observer == nullptr) return;
  own_node->Observe(
      *this,
      [&] {
        const Lock lock(observers_mutex_);
        if (stopping_ || std::ranges::find(observers_, observer) != observers_.end()) return false;
        observers_.push_back(observer);
        if (!thread_.joinable()) thread_ = std::thread(&Gateway::RunObservers, this);
        return true;
      },
      observer);
}

void Gateway::remove_observer(messaging::channel_observer* observer) {
  Lock lock(observers_mutex_);
  std::erase(observers_, observer);
  std::erase_if(notices_, [&](const Notice& notice) { return notice.observer == observer; });
  // An observer that takes itself out cannot wait for its own end.
  if (thread_.get_id() == std::this_thread::get_id()) return;
  changed_.Wait(lock, [&] { return running_ != observer; });
}

void Gateway::add_subscriber(const messaging::channel_subscriber& entry) {
  if (const std::shared_ptr<Node> own_node = node()) own_node->AddEntry(*this, entry);
}

void Gateway::remove_subscriber(const messaging::channel_subscriber& entry) {
  if (const std::shared_ptr<Node> own_node = node()) own_node->RemoveEntry(*this, entry);
}

messaging::message* Gateway::create_message(int32_t) {
  return new Message;
}

messaging::channel* Gateway::open_channel(const char* name) {
  const Lock lock(mutex_);
  std::unique_ptr<Channel>& channel = channels_[name];
  if (channel == nullptr) channel = std::make_unique<Channel>(*this, name);
  return channel.get();
}

std::shared_ptr<Node> Gateway::node() {
  const Lock lock(mutex_);
  return node_;
}

bool Gateway::AddCall(const std::shared_ptr<PendingCall>& call) {
  const Lock lock(mutex_);
  if (node_ == nullptr) return false;
  calls_.push_back(call);
  return true;
}

void Gateway::RemoveCall(const std::shared_ptr<PendingCall>& call) {
  const Lock lock(mutex_);
  std::erase(calls_, call);
}

void Gateway::Receive(std::string_view channel, Message* message) {
  Channel* receiver = nullptr;
  {
    const Lock lock(mutex_);
    const auto found = channels_.find(channel);
    if (found != channels_.end()) receiver = found->second.get();
  }
  if (receiver != nullptr) receiver->Receive(message);
}

bool Gateway::ServesLocked(std::string_view channel) const {
  return std::ranges::any_of(entries, [&](const auto& item) {
    return item.first.first == channel && IsServer(item.second);
  });
}

void Gateway::Tell(bool added, const messaging::channel_subscriber& entry,
                   messaging::channel_observer* only) {
  if (entry.channel != channel_) return;
  const Lock lock(observers_mutex_);
  if (stopping_) return;
  for (messaging::channel_observer* const observer : observers_) {
    if (only == nullptr || only == observer) notices_.push_back({added, entry, observer});
  }
  changed_.NotifyAll();
}

void Gateway::RunObservers() {
  orn::SetThreadName(L"Messaging observers");
  Lock lock(observers_mutex_);
  for (;;) {
    changed_.Wait(lock, [this] { return stopping_ || !notices_.empty(); });
    if (stopping_) return;
    const Notice notice = std::move(notices_.front());
    notices_.pop_front();
    running_ = notice.observer;
    lock.unlock();
    if (notice.added) {
      notice.observer->on_new_subscriber(notice.entry.channel, notice.entry);
    } else {
      notice.observer->on_subscriber_removed(notice.entry.channel, notice.entry);
    }
    lock.lock();
    running_ = nullptr;
    changed_.NotifyAll();
  }
}

}  // namespace host::channels
