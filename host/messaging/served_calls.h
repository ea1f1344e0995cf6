#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "host/messaging/message.h"
#include "host/messaging/pipe_server.h"

namespace host::channels {

// What one other process has asked of this one and what is not done yet. While that is too much,
// nothing more is read from its pipe, which then pushes back on the other process: it cannot fill
// this one's memory. Answers go out all the same.
class ServedCalls : public std::enable_shared_from_this<ServedCalls> {
 public:
  explicit ServedCalls(std::shared_ptr<ServedPipe> client) : client_(std::move(client)) {}

  // Of the reading thread, before each read. The pipe's pump is woken when a no becomes a yes.
  bool MayRead();
  // Counts a message of that size until what this gives has gone. `id` 0 wants no answer.
  std::shared_ptr<ReplyTarget> Take(uint32_t id, size_t size);

 private:
  class Taken;
  bool IsFull() const;
  void Send(std::string frame);
  void Done(size_t size);

  const std::shared_ptr<ServedPipe> client_;
  std::atomic<size_t> count_{0};
  std::atomic<size_t> bytes_{0};
  std::atomic<bool> paused_{false};
};

}  // namespace host::channels
