#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "module/frame/error_codes.h"
#include "module/platform/messaging.h"
#include "module/platform/process_info_db.h"
#include "module/rpc/comm_base.h"
#include "module/rpc/method_info.h"
#include "module/rpc/server_subscriber.h"

namespace messaging::rpc {

// What server<I> is for every I: the object that answers one client, which is one (client id,
// process id). So it knows for certain whom it talks to.
//
// The factory owns it and calls it with the lock of its servers held: shared for `handle`, which
// thereby runs on several threads at a time, exclusively for all else.
class server_base {
 public:
  server_base(const server_base&) = delete;
  server_base& operator=(const server_base&) = delete;

  // Once, when the factory has filled the object in. The result is not used.
  virtual int32_t on_created() { return 0; }
  // When nothing refers to this any more, ahead of the destruction.
  virtual void on_destroyed() {}
  // A subscriber for an interface without callbacks came or went.
  virtual void on_unknown_subscriber_added(int32_t interface_id, const channel_subscriber& entry);
  virtual void on_unknown_subscriber_removed(int32_t interface_id, const channel_subscriber& entry);
  // An administrator called a method that is not registered. On several threads at a time.
  virtual int32_t on_unknown_method(int32_t method_id, method_info& info);
  virtual ~server_base() = default;

  // What the factory fills in, ahead of on_created. Nothing here is owned.
  void fill_in(const comm_base* owner, channel_subscriber client,
               std::shared_ptr<process_info> client_process, channel_factory* messages,
               messaging::channel* events);

  bool is_for(const std::string& client_id, int32_t pid) const {
    return client_entry.pid == pid && client_entry.id == client_id;
  }

  void add_reference() { ++references; }
  // True when that was the last one.
  bool release_reference() { return --references == 0; }

  void add_subscriber(const channel_subscriber& entry);
  void remove_subscriber(const channel_subscriber& entry);
  // Whatever was announced and taken back: no observer stays with the target behind this object.
  void remove_all_subscribers();

  // Runs a received call, and answers it where it is one that is answered.
  void handle(message& request);

 protected:
  server_base() = default;

  // For the constructor of the derived `P`. The later registration of a number replaces the earlier
  // one.
  template <class P>
  void register_method(int32_t method_id,
                       int32_t (P::*method)(const ParameterList& input, ParameterList& output),
                       bool admin_required = true) {
    methods.insert_or_assign(method_id, method_entry{.id = method_id,
                                                     .call =
                                                         [this, method](method_info& info) {
                                                           return (static_cast<P*>(this)->*method)(
                                                               *info.input, *info.output);
                                                         },
                                                     .admin_required = admin_required});
  }

  // Likewise. `S` is the concrete server_subscriber; `add` gets a new one and tells whether it is
  // to stay, `remove` gets one that is destroyed next, whatever it returns. Each also gets the
  // client's entry, whose id is empty where the client has only made one up.
  template <class S, class P>
  void register_callbacks(int32_t interface_id,
                          bool (P::*add)(S* subscriber, const channel_subscriber& entry),
                          bool (P::*remove)(S* subscriber, const channel_subscriber& entry)) {
    callbacks.insert_or_assign(
        interface_id, callback_entry{
                          .interface_id = interface_id,
                          .add =
                              [this, interface_id, add](const channel_subscriber& entry) {
                                auto made = std::make_unique<S>();
                                fill_in_subscriber(*made, interface_id, entry);
                                if ((static_cast<P*>(this)->*add)(made.get(), entry)) {
                                  subscribers.push_back(std::move(made));
                                }
                              },
                          .remove =
                              [this, interface_id, remove](const channel_subscriber& entry) {
                                const auto found = find_subscriber(interface_id, entry);
                                if (found == subscribers.end()) return;
                                (static_cast<P*>(this)->*remove)(static_cast<S*>(found->get()),
                                                                 entry);
                                subscribers.erase(found);
                              },
                      });
  }

 private:
  struct method_entry {
    int32_t id = 0;
    std::function<int32_t(method_info&)> call;
    bool admin_required = true;
  };
  struct callback_entry {
    int32_t interface_id = 0;
    std::function<void(const channel_subscriber&)> add;
    std::function<void(const channel_subscriber&)> remove;
  };
  using subscriber_list = std::vector<std::unique_ptr<server_subscriber>>;

  void fill_in_subscriber(server_subscriber& subscriber, int32_t interface_id,
                          const channel_subscriber& entry) const;
  subscriber_list::iterator find_subscriber(int32_t interface_id, const channel_subscriber& entry);

  int32_t run(const message& request, const ParameterList& input, ParameterList& output);
  int32_t dispatch_method(int32_t method_id, method_info& info);

  // Guarded by the factory's lock.
  int32_t references = 0;
  subscriber_list subscribers;

  // Fixed once filled in.
  const comm_base* comm = nullptr;  // The factory's, not owned.
  channel_subscriber client_entry;
  std::shared_ptr<process_info> process;
  channel_factory* message_factory = nullptr;    // Not owned.
  messaging::channel* channel_object = nullptr;  // Not owned.
  std::unordered_map<int32_t, method_entry> methods;
  std::unordered_map<int32_t, callback_entry> callbacks;
};

}  // namespace messaging::rpc
