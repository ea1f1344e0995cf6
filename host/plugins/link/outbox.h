#pragma once

#include <deque>
#include <functional>
#include <string>

#include "host/common/sync.h"

namespace host::link {

// What waits to be written to one connection: filled by any thread without waiting, emptied by one
// writer.
//
// Its size is bounded from three sides: what has a flow control of its own by that, as stream
// messages by the credit of their streams; answers by a limit whose excess ends the connection,
// because a server that keeps asking and reads no answer is as good as gone; and messages that may
// be left out by a smaller limit.
class Outbox {
 public:
  enum class Kind { kCredited, kAnswer, kOptional };
  struct Limits {
    size_t answer_bytes = 4 * 1024 * 1024;
    size_t optional_bytes = 1024 * 1024;
  };

  // `on_excess` is called without any lock held, on the thread that pushes, and must not wait.
  Outbox(const Limits& limits, std::function<void()> on_excess);
  Outbox(const Outbox&) = delete;
  Outbox& operator=(const Outbox&) = delete;

  // False where the message was not taken: no room, or the connection is ending.
  bool Push(std::string message, Kind kind);

  // The writer's: waits for a message; false when there will be none.
  bool Pop(std::string& message);

  // Takes no more messages; those here are still written.
  void Finish();
  // Waits for the writer to have written all after Finish, or for the deadline.
  void WaitUntilDrained(Clock::time_point deadline);
  // Takes no more and forgets what is here.
  void Discard();

 private:
  struct Entry {
    std::string message;
    Kind kind;
  };

  const Limits limits_;
  const std::function<void()> on_excess_;

  Mutex mutex_;
  Condition changed_;
  std::deque<Entry> queue_;
  size_t uncredited_bytes_ = 0;
  bool taking_ = true;
  bool drained_ = false;
};

}  // namespace host::link
