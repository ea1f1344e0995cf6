#include "host/plugins/connector/stream.h"

#include <exception>

#include "host/plugins/connector/messages.h"
#include "host/plugins/link/transport.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/scope_guard.h"
#include "module/frame/thread_name.h"

namespace host::connector {

namespace {

constexpr uint32_t kMessageTooLong = 223;
// What a queued message costs beside its text.
constexpr size_t kMessageOverhead = 64;

}  // namespace

Stream::Stream(std::string id, std::shared_ptr<link::Outbox> outbox, const StreamLimits& limits)
    : id_(std::move(id)),
      outbox_(std::move(outbox)),
      limits_(limits),
      connected_(outbox_ != nullptr) {}

void Stream::SetMessageHandler(IMessageHandler* handler) {
  const Lock lock(mutex_);
  handler_ = handler;
  changed_.NotifyAll();
}

uint32_t Stream::Send(const std::pair<std::string, std::string>& message, int32_t) {
  const bool is_stop = message.first == kStreamStop;
  const bool is_free = is_stop || message.first == kResize;
  std::string text = StreamMessage(id_, message.first, message.second);
  if (text.size() > link::kLongestMessage) return kMessageTooLong;

  Lock lock(mutex_);
  ++senders_;
  const orn::ScopeGuard leave([this] {
    if (--senders_ == 0 && destroyed_) changed_.NotifyAll();
  });
  if (is_stop) {
    stop_sent_ = true;
    SilenceLocked();
  }
  if (const auto result = ResultWithoutSendingLocked(is_stop)) return *result;
  if (!is_free) {
    if (const auto result = WaitForCreditLocked(lock, message.second.size())) return *result;
    under_way_ += message.second.size();
  }
  const auto kind = is_free ? link::Outbox::Kind::kAnswer : link::Outbox::Kind::kCredited;
  return outbox_->Push(std::move(text), kind) ? 0 : error::kNotConnected;
}

// Nothing where the message has to be sent.
std::optional<uint32_t> Stream::ResultWithoutSendingLocked(bool is_stop) {
  if (destroyed_) return 0;
  if (!connected_ || lost_) return error::kNotConnected;
  if (ending_ && !is_stop) return 0;
  return std::nullopt;
}

// Nothing where there is credit for the message.
std::optional<uint32_t> Stream::WaitForCreditLocked(Lock& lock, size_t bytes) {
  // A message longer than the window goes alone.
  const auto has_credit = [&] {
    return under_way_ == 0 || under_way_ + bytes <= limits_.window_bytes;
  };
  while (!has_credit()) {
    if (discarding_) return 0;
    const uint64_t seen = credits_;
    const auto changed = [&] {
      return credits_ != seen || destroyed_ || !connected_ || ending_ || discarding_ || lost_;
    };
    if (!changed_.WaitUntil(lock, Clock::now() + limits_.stall, changed)) {
      ORN_LOG(logging::kNotice, L"VeldConnector::Stream::Send",
              L"Stream %S is lost: its output was not taken.", id_.c_str());
      LoseLocked("lost");
    }
    if (const auto result = ResultWithoutSendingLocked(/*is_stop=*/false)) return result;
  }
  return std::nullopt;
}

// Of a connected stream to which nobody else has brought an end yet.
void Stream::LoseLocked(const char* reason) {
  lost_ = true;
  SilenceLocked();
  outbox_->Push(StreamClosedMessage(id_, reason), link::Outbox::Kind::kAnswer);
  if (!stop_sent_ && !end_yielded_) QueueEndLocked(kStreamErrorText);
  changed_.NotifyAll();
}

void Stream::Accept(const std::string& text) {
  std::optional<InwardText> inward = ReadInwardText(text);
  if (!inward) {
    ORN_LOG(logging::kWarning, L"VeldConnector::Stream::Accept",
            L"Malformed message of %d bytes for stream %S dropped.", static_cast<int>(text.size()),
            id_.c_str());
    return;
  }
  const Lock lock(mutex_);
  if (silenced_ || ending_) return;
  if (inward->ends_stream) {
    QueueEndLocked(std::move(inward->text));
    return;
  }
  const size_t cost = inward->text.size() + kMessageOverhead;
  if (inbox_bytes_ + cost > limits_.inward_bytes) {
    ORN_LOG(logging::kNotice, L"VeldConnector::Stream::Accept",
            L"Stream %S is ended: its input was not taken.", id_.c_str());
    overrun_ = true;
    inbox_.clear();
    QueueEndLocked(kStreamErrorText);
    return;
  }
  inbox_bytes_ += cost;
  inbox_.push_back(std::move(inward->text));
  changed_.NotifyAll();
}

void Stream::EndInward() {
  const Lock lock(mutex_);
  if (!silenced_ && !ending_) QueueEndLocked(kStreamErrorText);
}

void Stream::LoseHost() {
  const Lock lock(mutex_);
  if (connected_ && !lost_ && !ending_ && !stop_sent_ && !end_yielded_ && !destroyed_) {
    LoseLocked("hostLost");
  }
}

void Stream::QueueEndLocked(std::string text) {
  ending_ = true;
  inbox_.push_back(std::move(text));
  changed_.NotifyAll();
}

void Stream::SilenceLocked() {
  silenced_ = true;
  inbox_.clear();
  inbox_bytes_ = 0;
}

void Stream::AddCredit(uint64_t bytes) {
  const Lock lock(mutex_);
  under_way_ -= bytes < under_way_ ? static_cast<size_t>(bytes) : under_way_;
  ++credits_;
  changed_.NotifyAll();
}

void Stream::StartDelivery() {
  thread_ = std::thread([self = shared_from_this()] {
    orn::SetThreadName(L"Stream delivery");
    self->Run();
  });
}

bool Stream::Begin() {
  const Lock lock(mutex_);
  begun_ = true;
  changed_.NotifyAll();
  return connected_;
}

void Stream::TellDead() {
  const Lock lock(mutex_);
  if (destroyed_ || stop_sent_ || discarding_ || end_delivered_ || end_yielded_) return;
  QueueEndLocked(kStreamErrorText);
}

void Stream::Disconnect() {
  const Lock lock(mutex_);
  connected_ = false;
  SilenceLocked();
  changed_.NotifyAll();
}

void Stream::CloseIntake() {
  const Lock lock(mutex_);
  discarding_ = true;
  SilenceLocked();
  changed_.NotifyAll();
}

bool Stream::YieldEnd() {
  Lock lock(mutex_);
  changed_.Wait(lock, [this] { return begun_ || destroyed_; });
  if (end_delivered_) return false;
  end_yielded_ = true;
  SilenceLocked();
  return true;
}

void Stream::LeaveEndToUser() {
  const Lock lock(mutex_);
  if (!begun_) return;
  end_yielded_ = true;
  discarding_ = true;
  SilenceLocked();
  changed_.NotifyAll();
}

void Stream::WaitUntilIdle() {
  Lock lock(mutex_);
  changed_.Wait(lock, [this] { return !delivering_; });
}

void Stream::Destroy() {
  const bool by_its_handler = thread_.get_id() == std::this_thread::get_id();
  {
    Lock lock(mutex_);
    destroyed_ = true;
    SilenceLocked();
    changed_.NotifyAll();
    changed_.Wait(lock, [&] { return senders_ == 0 && (by_its_handler || !delivering_); });
    if (connected_ && !lost_) {
      outbox_->Push(StreamClosedMessage(id_, overrun_ ? "lost" : "destroyed"),
                    link::Outbox::Kind::kAnswer);
    }
  }
  if (by_its_handler) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void Stream::Run() {
  Lock lock(mutex_);
  for (;;) {
    changed_.Wait(
        lock, [this] { return destroyed_ || (begun_ && handler_ != nullptr && !inbox_.empty()); });
    if (destroyed_) return;
    const std::string text = std::move(inbox_.front());
    inbox_.pop_front();
    inbox_bytes_ = inbox_.empty() ? 0 : inbox_bytes_ - (text.size() + kMessageOverhead);
    // What ends the stream is taken in last.
    if (ending_ && inbox_.empty()) end_delivered_ = true;
    delivering_ = true;
    IMessageHandler* const handler = handler_;
    lock.unlock();
    try {
      handler->OnMessage(text);
    } catch (const std::exception& exception) {
      ORN_LOG(logging::kError, L"VeldConnector::Stream::Run", L"A message of stream %S failed: %S",
              id_.c_str(), exception.what());
    } catch (...) {
      ORN_LOG(logging::kError, L"VeldConnector::Stream::Run", L"A message of stream %S failed.",
              id_.c_str());
    }
    lock.lock();
    delivering_ = false;
    changed_.NotifyAll();
  }
}

}  // namespace host::connector
