#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <utility>

#include "module/platform/messaging.h"
#include "module/rpc/client_base.h"
#include "module/rpc/message_ptr.h"
#include "module/rpc/parameter_list.h"
#include "module/rpc/properties.h"
#include "module/rpc/wire.h"

namespace messaging::testing {

inline constexpr uint32_t kParameter = 0x0101;

using Change = std::function<void(message&)>;

inline void Serialise(message& call) {
  call.set_int(rpc::kSerialize, 1);
}

// A claim to call for another process.
inline Change Claim(std::optional<int32_t> admin) {
  return [admin](message& call) {
    call.set_int(rpc::kImpersonatedPid, 77);
    call.set_string(rpc::kImpersonatedPath, "other");
    if (admin) call.set_int(rpc::kImpersonatedAdmin, *admin);
  };
}

// An end of a module's channel by hand, which says what a well-behaved one never says.
struct Hand {
  channel_gateway_factory& library;
  const std::string name;
  std::string id;  // As whom it calls, and what it announces.
  channel_gateway* const gateway = library.create({.channel = name});
  channel* const line = gateway->get_factory()->open_channel(name.c_str());
  Change on_message;

  Hand(channel_gateway_factory& of, const std::string& module, std::string client)
      : library(of), name("TsrComm." + module), id(std::move(client)) {}
  Hand(const Hand&) = delete;
  Hand& operator=(const Hand&) = delete;
  ~Hand() { library.destroy(gateway); }

  // What arrives from now on is handled so; a handler that runs has ended by then.
  void AnswerWith(Change handler) {
    line->close_receiver(line->get_receiver());
    on_message = std::move(handler);
    line->get_receiver()->set_callback(
        [](message* received, void* user) { static_cast<Hand*>(user)->on_message(*received); },
        this, 0);
  }
  channel_subscriber Entry(int32_t type, const char* subscriber = "", int32_t interface = 1) const {
    channel_subscriber entry{.pid = 0, .channel = name, .id = id, .properties = {}};
    rpc::write_int_property(entry, rpc::kSubscriberType, type);
    entry.properties[rpc::kClientId] = id;
    if (type != rpc::kEventSubscriber) return entry;
    entry.id = subscriber;
    entry.properties[rpc::kSubscriberId] = subscriber;
    rpc::write_int_property(entry, rpc::kInterfaceNumber, interface);
    return entry;
  }
  // `pid` is what it claims to be.
  void Announce(int32_t type = rpc::kClient, int32_t pid = 0) {
    channel_subscriber entry = Entry(type);
    entry.pid = pid;
    gateway->add_subscriber(entry);
  }
  void Withdraw(int32_t type = rpc::kClient) { gateway->remove_subscriber(Entry(type)); }

  rpc::message_ptr Make(int32_t type = 0) const {
    auto made = rpc::message_ptr::adopt(gateway->get_factory()->create_message(0));
    made->set_type(type);
    return made;
  }
  // The answer; empty where nobody gives one.
  rpc::message_ptr Ask(const rpc::message_ptr& request) const {
    message* answer = nullptr;
    line->send(request.get(), &answer, 60000 | channel::kMilliseconds);
    return rpc::message_ptr::adopt(answer);
  }
  // The status, if there is an answer.
  std::optional<int32_t> Call(int32_t method, uint32_t by = 1, const Change& change = {}) const {
    const auto call = Make(rpc::kMethodCall);
    call->set_int(rpc::kMethodId, method);
    call->set_string(rpc::kClientId, id.c_str());
    rpc::ParameterList input;
    input.AddValue(kParameter, by);
    input.SaveTo(*call);
    if (change) change(*call);
    const auto answer = Ask(call);
    return answer ? rpc::int_field(*answer, rpc::kReturnValue) : std::nullopt;
  }
  std::future<std::optional<int32_t>> CallAside(uint32_t by, const Change& change = {}) const {
    return std::async(std::launch::async, [this, by, change] { return Call(1, by, change); });
  }
};

// A client that sends what it is told to, to a server that is there when it is made.
struct raw_client final : rpc::client_base {
  using client_base::client_id;

  raw_client(IServMain* main, const char* module, uint32_t patience = 60000) {
    first_request_timeout = 0;
    init(main, module);
    wait_for_connection(patience);
  }
  ~raw_client() override { uninit(); }

  int32_t call(int32_t method, const rpc::ParameterList& input = {}) {
    rpc::ParameterList output;
    return send_request(method, input, output);
  }
};

}  // namespace messaging::testing
