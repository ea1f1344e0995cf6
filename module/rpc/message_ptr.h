#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "module/platform/messaging.h"

namespace messaging::rpc {

// One reference on a message:
//
//   const message_ptr reply = message_ptr::adopt(factory->create_message(kMessageOptions));
//   queue.AddTask([kept = message_ptr::share(received)] { ... }, {});
class message_ptr {
 public:
  message_ptr() = default;
  // Takes the caller's reference over.
  static message_ptr adopt(message* owned) { return message_ptr(owned); }
  // Takes a reference of its own.
  static message_ptr share(message* borrowed) {
    if (borrowed != nullptr) borrowed->add_ref();
    return message_ptr(borrowed);
  }
  message_ptr(const message_ptr& other) : message_ptr(share(other.message_)) {}
  message_ptr(message_ptr&& other) noexcept : message_(std::exchange(other.message_, nullptr)) {}
  message_ptr& operator=(message_ptr other) noexcept {
    std::swap(message_, other.message_);
    return *this;
  }
  ~message_ptr() {
    if (message_ != nullptr) message_->release();
  }

  message* get() const noexcept { return message_; }
  message* operator->() const noexcept { return message_; }
  message& operator*() const noexcept { return *message_; }
  explicit operator bool() const noexcept { return message_ != nullptr; }

 private:
  explicit message_ptr(message* owned) noexcept : message_(owned) {}

  message* message_ = nullptr;
};

// A field of exactly that type; nothing where the message has none.
inline std::optional<int32_t> int_field(const message& from, const char* name) {
  if (!from.has_field(name, message::kInt)) return std::nullopt;
  return from.get_int(name);
}

// Null where there is none. Valid as long as the message.
inline const char* string_field(const message& from, const char* name) {
  return from.has_field(name, message::kString) ? from.get_string(name) : nullptr;
}

}  // namespace messaging::rpc
