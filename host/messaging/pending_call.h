#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>

#include "host/messaging/message_content.h"
#include "host/messaging/pipe_stream.h"
#include "module/frame/handle.h"

namespace host::channels {

// A time to wait until.
class Deadline {
 public:
  explicit Deadline(uint32_t milliseconds)
      : end_(std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds)) {}
  // Milliseconds.
  uint32_t Left() const {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
    return left.count() <= 0 ? 0 : static_cast<uint32_t>(left.count());
  }

 private:
  const std::chrono::steady_clock::time_point end_;
};

// A request on its way: who asks waits here for the first answer, or for the last of those who
// could give one to drop out. Any thread, but for the operations of who asks.
class PendingCall {
 public:
  explicit PendingCall(uint32_t id);
  PendingCall(const PendingCall&) = delete;
  PendingCall& operator=(const PendingCall&) = delete;
  ~PendingCall();

  uint32_t id() const { return id_; }
  bool done() const { return done_; }

  // One more who could answer. Who asks counts as one until everybody is counted.
  void AddTarget();
  void DropTarget();
  // The first counts.
  void Answer(MessageContent answer);
  // No answer is wanted any more.
  void Cancel();
  // Ends a wait early, for nothing.
  void Nudge() { SetEvent(event_); }

  // Of who asks. Returns when the call is done or nudged, or after `milliseconds`.
  void Wait(uint32_t milliseconds) { WaitForSingleObject(event_, milliseconds); }
  // While who asks pumps `stream` instead of waiting here, the end of the call wakes that.
  void SetPumped(PipeStream* stream);
  std::optional<MessageContent> TakeAnswer();

 private:
  void FinishLocked();

  const uint32_t id_;
  const HANDLE event_;  // Auto-reset; on loan from a store.

  std::atomic<bool> done_{false};

  std::mutex mutex_;
  // Guarded by mutex_.
  uint32_t targets_ = 1;
  PipeStream* pumped_ = nullptr;
  DWORD pumping_thread_ = 0;  // Who asks, where `pumped_` is not null.
  std::optional<MessageContent> answer_;
};

}  // namespace host::channels
