#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "host/common/sync.h"
#include "host/messaging/channel.h"
#include "host/messaging/message.h"
#include "host/messaging/pending_call.h"
#include "module/platform/messaging.h"

namespace host::channels {

class Node;

// One user's door to the channels. It is never freed: its users may call it after its end, and then
// all fails.
class Gateway final : public messaging::channel_gateway, public messaging::channel_factory {
 public:
  Gateway(std::string channel, std::shared_ptr<Node> node);
  Gateway(const Gateway&) = delete;
  Gateway& operator=(const Gateway&) = delete;

  // The end of it, see channel_gateway_factory::destroy. Once.
  void Close();

  void add_observer(messaging::channel_observer* observer) override;
  void remove_observer(messaging::channel_observer* observer) override;
  void add_subscriber(const messaging::channel_subscriber& entry) override;
  void remove_subscriber(const messaging::channel_subscriber& entry) override;
  messaging::channel_factory* get_factory() override { return this; }

  messaging::message* create_message(int32_t options) override;
  messaging::channel* open_channel(const char* name) override;

  // Null after the end.
  std::shared_ptr<Node> node();
  // False after the end. Calls that are added are cancelled by it.
  bool AddCall(const std::shared_ptr<PendingCall>& call);
  void RemoveCall(const std::shared_ptr<PendingCall>& call);

  // Gives a received message to the channel's receiver, on this thread.
  void Receive(std::string_view channel, Message* message);

  // Of the node, under its mutex.
  using EntryKey = std::pair<std::string, std::string>;  // Channel and id.
  std::map<EntryKey, messaging::channel_subscriber> entries;
  bool ServesLocked(std::string_view channel) const;
  const std::string& channel() const { return channel_; }
  // Queues a change for the observers; `only` for one of them alone.
  void Tell(bool added, const messaging::channel_subscriber& entry,
            messaging::channel_observer* only = nullptr);

 private:
  struct Notice {
    bool added;
    messaging::channel_subscriber entry;
    messaging::channel_observer* observer;
  };

  void RunObservers();

  const std::string channel_;

  // Without kernel objects, as gateways are never freed.
  Mutex mutex_;
  // Guarded by mutex_.
  std::shared_ptr<Node> node_;
  std::map<std::string, std::unique_ptr<Channel>, std::less<>> channels_;
  std::vector<std::shared_ptr<PendingCall>> calls_;

  Mutex observers_mutex_;  // Below the node's mutex.
  Condition changed_;
  // Guarded by observers_mutex_.
  std::vector<messaging::channel_observer*> observers_;
  std::deque<Notice> notices_;
  messaging::channel_observer* running_ = nullptr;  // Is being called.
  bool stopping_ = false;
  std::thread thread_;  // Since the first observer.
};

}  // namespace host::channels
