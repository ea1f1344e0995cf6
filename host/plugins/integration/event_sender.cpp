#include "host/plugins/integration/event_sender.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/plugins/integration/messages.h"
#include "module/frame/thread_name.h"

namespace host::integration {

void EventSender::Start() {
  thread_ = std::thread([this] {
    orn::SetThreadName(L"Integration events");
    Run();
  });
}

void EventSender::Stop() {
  {
    const Lock lock(mutex_);
    stopping_ = true;
    changed_.NotifyAll();
  }
  if (thread_.joinable()) thread_.join();
}

void EventSender::Welcomed(std::shared_ptr<link::Outbox> outbox, uint64_t acknowledged) {
  const Lock lock(mutex_);
  outbox_ = std::move(outbox);
  under_way_.clear();
  under_way_bytes_ = 0;
  sent_ = acknowledged;
  acknowledged_ = acknowledged;
  forgotten_ = 0;
  more_ = true;
  changed_.NotifyAll();
}

void EventSender::Acknowledged(uint64_t number) {
  const Lock lock(mutex_);
  // What was not sent the server cannot have.
  acknowledged_ = std::max(acknowledged_, std::min(number, sent_));
  while (!under_way_.empty() && under_way_.front().number <= acknowledged_) {
    under_way_bytes_ -= under_way_.front().bytes;
    under_way_.pop_front();
  }
  changed_.NotifyAll();
}

void EventSender::Disconnected() {
  const Lock lock(mutex_);
  outbox_.reset();
}

void EventSender::Wake() {
  const Lock lock(mutex_);
  more_ = true;
  changed_.NotifyAll();
}

bool EventSender::HasRoomLocked() const {
  return under_way_.size() < window_.events && under_way_bytes_ < window_.bytes;
}

void EventSender::Run() {
  Lock lock(mutex_);
  for (;;) {
    changed_.Wait(lock, [this] {
      return stopping_ ||
             (outbox_ != nullptr && (forgotten_ < acknowledged_ || (more_ && HasRoomLocked())));
    });
    if (stopping_) return;
    if (forgotten_ < acknowledged_) {
      const uint64_t number = forgotten_ = acknowledged_;
      lock.unlock();
      store_.Forget(number);
      lock.lock();
    } else {
      SendLocked(lock);
    }
  }
}

void EventSender::SendLocked(Lock& lock) {
  const std::shared_ptr<link::Outbox> outbox = outbox_;
  const uint64_t sent = sent_;
  const size_t count = window_.events - under_way_.size();
  const size_t bytes = window_.bytes - under_way_bytes_;
  more_ = false;
  lock.unlock();
  const std::vector<StoredEvent> events = store_.After(sent, count, bytes);
  lock.lock();
  if (outbox_ != outbox || events.empty()) return;
  // There may be others behind these.
  more_ = true;
  for (const StoredEvent& event : events) {
    std::string message = EventMessage(event);
    under_way_.push_back({event.number, message.size()});
    under_way_bytes_ += message.size();
    sent_ = event.number;
    outbox_->Push(std::move(message), link::Outbox::Kind::kCredited);
  }
}

}  // namespace host::integration
