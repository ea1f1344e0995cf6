#include "host/messaging/pending_call.h"

#include <utility>
#include <vector>

namespace host::channels {

namespace {

// Events that are not in use: making one for each call would cost a tenth of a call. Never
// destroyed, as calls may outlive everything.
struct EventStore {
  std::mutex mutex;
  std::vector<HANDLE> free;  // Guarded by mutex.
};

EventStore& Store() {
  static EventStore* const store = new EventStore;
  return *store;
}

HANDLE TakeEvent() {
  EventStore& store = Store();
  {
    const std::lock_guard lock(store.mutex);
    if (!store.free.empty()) {
      const HANDLE event = store.free.back();
      store.free.pop_back();
      return event;
    }
  }
  return CreateEventW(nullptr, /*manualReset=*/FALSE, /*signalled=*/FALSE, nullptr);
}

}  // namespace

PendingCall::PendingCall(uint32_t id) : id_(id), event_(TakeEvent()) {}

PendingCall::~PendingCall() {
  // It may be left signalled: whoever has it next looks twice.
  EventStore& store = Store();
  const std::lock_guard lock(store.mutex);
  store.free.push_back(event_);
}

void PendingCall::AddTarget() {
  const std::lock_guard lock(mutex_);
  ++targets_;
}

void PendingCall::DropTarget() {
  const std::lock_guard lock(mutex_);
  if (--targets_ == 0) FinishLocked();
}

void PendingCall::Answer(MessageContent answer) {
  const std::lock_guard lock(mutex_);
  if (done_) return;
  answer_ = std::move(answer);
  FinishLocked();
}

void PendingCall::Cancel() {
  const std::lock_guard lock(mutex_);
  FinishLocked();
}

void PendingCall::FinishLocked() {
  if (done_.exchange(true)) return;
  if (pumped_ != nullptr) {
    // Who asks mostly reads the answer itself, and needs no waking.
    if (pumping_thread_ != GetCurrentThreadId()) pumped_->Wake();
  } else {
    SetEvent(event_);
  }
}

void PendingCall::SetPumped(PipeStream* stream) {
  const std::lock_guard lock(mutex_);
  pumped_ = stream;
  pumping_thread_ = GetCurrentThreadId();
}

std::optional<MessageContent> PendingCall::TakeAnswer() {
  const std::lock_guard lock(mutex_);
  return std::exchange(answer_, std::nullopt);
}

}  // namespace host::channels
