#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "module/platform/messaging.h"
#include "module/rpc/message_ptr.h"

namespace messaging::rpc {

// One-way calls that wait for the server to come. Any thread.
class delayed_method_holder {
 public:
  // `name` is the owner's, not copied.
  explicit delayed_method_holder(const std::string& name) : name_(name) {}
  delayed_method_holder(const delayed_method_holder&) = delete;
  delayed_method_holder& operator=(const delayed_method_holder&) = delete;

  // Where to post to; not owned.
  void init(messaging::channel* channel);
  void hold(message_ptr call, int32_t method_id);
  // Whether the server is there. If it is, all that waits is posted.
  void set_state(bool connected);
  // Drops what waits.
  void uninit();

 private:
  struct entry {
    message_ptr call;
    int32_t method_id;
  };

  void post_all_unsafe();  // With mutex_ held.

  const std::string& name_;
  const size_t capacity_ = 128;  // What there is room for from the first; not a limit.
  std::mutex mutex_;
  // Guarded by mutex_.
  bool state_ = false;
  std::vector<entry> entries_;
  messaging::channel* channel_ = nullptr;
};

}  // namespace messaging::rpc
