#include "module/rpc/testing/memory_message.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "module/rpc/testing/memory_messaging.h"

namespace messaging::testing {

void pending_request::expect(const memory_process* receiver) {
  const std::lock_guard lock(mutex_);
  receivers_.push_back(receiver);
}

void pending_request::answer(const memory_process* receiver, rpc::message_ptr answer) {
  const std::lock_guard lock(mutex_);
  const auto found = std::find(receivers_.begin(), receivers_.end(), receiver);
  if (found == receivers_.end()) return;
  receivers_.erase(found);
  if (!answer_) answer_ = std::move(answer);
  changed_.notify_all();
}

void pending_request::let_go(const memory_process* receiver) {
  answer(receiver, {});
}

void pending_request::cut_off(const memory_process* process) {
  const std::lock_guard lock(mutex_);
  if (process == sender_) {
    receivers_.clear();
  } else {
    std::erase(receivers_, process);
  }
  changed_.notify_all();
}

rpc::message_ptr pending_request::wait(uint32_t milliseconds) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                    [this] { return answer_ || receivers_.empty(); });
  receivers_.clear();
  return std::move(answer_);
}

memory_message* memory_message::make_received(const message& sent, const memory_process* receiver,
                                              uint32_t sender_pid,
                                              std::shared_ptr<pending_request> pending) {
  const auto& original = static_cast<const memory_message&>(sent);
  auto* const copy = make();
  copy->type_ = original.type_;
  copy->fields_ = original.fields_;
  copy->sender_pid_ = sender_pid;
  copy->receiver_ = receiver;
  copy->pending_ = std::move(pending);
  return copy;
}

memory_message::~memory_message() {
  if (pending_) pending_->let_go(receiver_);
}

template <class T>
const T* memory_message::find(const char* name) const {
  const auto found = fields_.find(name);
  return found == fields_.end() ? nullptr : std::get_if<T>(&found->second);
}

int32_t memory_message::get_int(const char* name) const {
  const auto* const value = find<int32_t>(name);
  return value == nullptr ? 0 : *value;
}

const char* memory_message::get_string(const char* name) const {
  const auto* const value = find<std::string>(name);
  return value == nullptr ? nullptr : value->c_str();
}

const void* memory_message::get_binary(const char* name, uint32_t* size) const {
  static constexpr uint8_t kNothing = 0;
  const auto* const value = find<binary>(name);
  *size = value == nullptr ? 0 : static_cast<uint32_t>(value->size());
  if (value == nullptr) return nullptr;
  return value->empty() ? &kNothing : value->data();
}

void memory_message::set_binary(const char* name, const void* data, uint32_t size) {
  const auto* const bytes = static_cast<const uint8_t*>(data);
  fields_[name] = binary(bytes, bytes + size);
}

bool memory_message::has_field(const char* name, int32_t type) const {
  switch (type) {
    case kInt:
      return find<int32_t>(name) != nullptr;
    case kString:
      return find<std::string>(name) != nullptr;
    case kBinary:
      return find<binary>(name) != nullptr;
    default:
      return false;
  }
}

void memory_message::reply(message* answer) {
  if (!pending_) return;
  const auto pending = std::exchange(pending_, nullptr);
  if (receiver_->drops_replies()) return;
  pending->answer(receiver_, rpc::message_ptr::adopt(make_received(*answer, nullptr, 0, nullptr)));
}

bool memory_message::get_property(int32_t number, uint32_t* value) const {
  if (number != kSenderProcess || !sender_pid_) return false;
  *value = *sender_pid_;
  return true;
}

}  // namespace messaging::testing
