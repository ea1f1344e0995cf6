#include "host/messaging/served_calls.h"

#include <utility>

namespace host::channels {

namespace {

constexpr size_t kUnservedMessages = 512;
constexpr size_t kUnservedBytes = 32 * 1024 * 1024;
// Of answers that the other process does not fetch.
constexpr size_t kWaitingToPause = 8 * 1024 * 1024;
constexpr size_t kWaitingLimit = 128 * 1024 * 1024;

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
  return count_ >= kUnservedMessages || bytes_ >= kUnservedBytes ||
         client_->stream.waiting() >= kWaitingToPause;
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
  if (client_->stream.Write(std::move(frame), kWaitingLimit) == PipeStream::kFull) {
    client_->stream.Break();
  }
}

void ServedCalls::Done(size_t size) {
  bytes_ -= size;
  --count_;
  if (paused_) client_->stream.Wake();
}

}  // namespace host::channels
