#include "host/messaging/served_calls.h"

#include <utility>

#include "host/messaging/user_access.h"

namespace host::channels {

namespace {

struct Limits {
  size_t messages;
  size_t bytes;
  // Of answers that the other process does not fetch.
  size_t waiting_to_pause;
  size_t waiting;
};
constexpr Limits kAgentLimits = {512, 32 * 1024 * 1024, 8 * 1024 * 1024, 128 * 1024 * 1024};
// All users' connections at once leave half of the event queue's threads to others.
constexpr Limits kUserLimits = {4, 4 * kUserFrameLimit, kUserWaitingLimit, 8 * kUserWaitingLimit};

constexpr const Limits& LimitsOf(const ServedPipe& client) {
  return client.user ? kUserLimits : kAgentLimits;
}

}  // namespace

class ServedCalls::Taken final : public ReplyTarget {
 public:
  Taken(std::shared_ptr<ServedCalls> owner, uint32_t id, size_t size)
      : owner_(std::move(owner)), id_(id), size_(size) {}
  ~Taken() override {
    if (id_ != 0 && !answered_) owner_->Send(EncodeLetGo(id_));
    owner_->Done(size_);
  }
  void Reply(const MessageContent& answer) override {
    if (id_ == 0) return;
    std::string frame = EncodeAnswer(id_, answer);
    // What is too large to send is no answer.
    if (frame.empty()) return;
    answered_ = true;
    owner_->Send(std::move(frame));
  }

 private:
  const std::shared_ptr<ServedCalls> owner_;
  const uint32_t id_;
  const size_t size_;
  bool answered_ = false;
};

bool ServedCalls::IsFull() const {
  const Limits& limits = LimitsOf(*client_);
  return count_ >= limits.messages || bytes_ >= limits.bytes ||
         client_->stream.waiting() >= limits.waiting_to_pause;
}

bool ServedCalls::MayRead() {
  paused_ = true;
  if (IsFull()) return false;
  paused_ = false;
  return true;
}

std::shared_ptr<ReplyTarget> ServedCalls::Take(uint32_t id, size_t size) {
  auto taken = std::make_shared<Taken>(shared_from_this(), id, size);
  ++count_;
  bytes_ += size;
  return taken;
}

void ServedCalls::Send(std::string frame) {
  if (client_->stream.Write(std::move(frame), LimitsOf(*client_).waiting) == PipeStream::kFull) {
    client_->stream.Break();
  }
}

void ServedCalls::Done(size_t size) {
  bytes_ -= size;
  --count_;
  if (paused_) client_->stream.Wake();
}

}  // namespace host::channels
