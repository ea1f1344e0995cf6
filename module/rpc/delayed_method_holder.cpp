#include "module/rpc/delayed_method_holder.h"

#include <utility>

#include "module/frame/log.h"

namespace messaging::rpc {

void delayed_method_holder::init(messaging::channel* channel) {
  const std::lock_guard lock(mutex_);
  entries_.reserve(capacity_);
  channel_ = channel;
}

void delayed_method_holder::hold(message_ptr call, int32_t method_id) {
  const std::lock_guard lock(mutex_);
  entries_.push_back({std::move(call), method_id});
}

void delayed_method_holder::set_state(bool connected) {
  const std::lock_guard lock(mutex_);
  ORN_LOG(logging::kTrace, L"messaging::rpc::delayed_method_holder::set_state",
          L"[%S] set_state value: [%d]", name_.c_str(), connected);
  state_ = connected;
  post_all_unsafe();
}

void delayed_method_holder::post_all_unsafe() {
  constexpr const wchar_t* kFunction = L"messaging::rpc::delayed_method_holder::post_all_unsafe";
  if (!state_) {
    ORN_LOG(logging::kTrace, kFunction, L"[%S] not connected", name_.c_str());
    return;
  }
  for (const entry& held : entries_) {
    ORN_LOG(logging::kTrace, kFunction, L"[%S] Posting method [method: %d]", name_.c_str(),
            held.method_id);
    if (channel_ != nullptr) channel_->post(held.call.get());
  }
  entries_.clear();
}

void delayed_method_holder::uninit() {
  const std::lock_guard lock(mutex_);
  if (!entries_.empty()) {
    ORN_LOG(logging::kWarning, L"messaging::rpc::delayed_method_holder::uninit",
            L"[%S] removing [%zd] unsent methods", name_.c_str(), entries_.size());
  }
  entries_.clear();
  channel_ = nullptr;
}

}  // namespace messaging::rpc
