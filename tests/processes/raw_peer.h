#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "module/rpc/client_base.h"
#include "module/rpc/gateway_factory_holder.h"
#include "module/rpc/message_ptr.h"
#include "module/rpc/wire.h"

namespace remote_calls {

// Somebody on a module's channel who keeps to no rules. Has no host.
class RawPeer : public messaging::channel_observer {
 public:
  using Handler = std::function<void(messaging::message&)>;
  using Numbers = std::initializer_list<std::pair<const char*, int32_t>>;
  using Texts = std::initializer_list<std::pair<const char*, std::string>>;

  static constexpr int32_t kNoAnswer = -1;

  // `handler` gets what arrives, on threads of the messaging library.
  explicit RawPeer(const std::string& module, Handler handler = {});
  RawPeer(const RawPeer&) = delete;
  RawPeer& operator=(const RawPeer&) = delete;
  ~RawPeer();

  // `pid` is what it claims to be.
  void Announce(messaging::rpc::subscriber_type type, const std::string& id, int32_t pid = 0);
  messaging::rpc::message_ptr NewMessage(int32_t type, Numbers numbers = {}, Texts texts = {});
  void Post(messaging::message& message) { channel_->post(&message); }
  // Waits until such an entry is on the channel, and gives the last one that came.
  messaging::channel_subscriber Await(messaging::rpc::subscriber_type type);
  // The status that came back, or kNoAnswer.
  int32_t Call(messaging::message& message);

 private:
  void on_new_subscriber(const std::string&, const messaging::channel_subscriber& entry) override;
  void on_subscriber_removed(const std::string&, const messaging::channel_subscriber&) override {}
  static void Receive(messaging::message* received, void* user);

  const std::string channel_name_;
  const Handler handler_;
  messaging::rpc::gateway_factory_holder holder_;
  messaging::channel_gateway* gateway_ = nullptr;
  messaging::channel* channel_ = nullptr;
  std::mutex mutex_;
  std::condition_variable came_;
  std::map<std::string, messaging::channel_subscriber> entries_;  // By type. Guarded by mutex_.
};

// A client that sends what it is told to, and has no host.
class RawClient final : public messaging::rpc::client_base {
 public:
  explicit RawClient(const char* module, int32_t first_timeout = 10000) {
    first_request_timeout = first_timeout;
    status_ = init(/*main=*/nullptr, module);
  }
  ~RawClient() override { uninit(); }

  // Of Init.
  int32_t status() const { return status_; }
  const std::string& id() const { return client_id; }
  int32_t Call(int32_t method, const messaging::rpc::ParameterList& input = {},
               uint32_t timeout = 0) {
    messaging::rpc::ParameterList output;
    return send_request(method, input, output, timeout);
  }

 private:
  int32_t status_;
};

}  // namespace remote_calls
