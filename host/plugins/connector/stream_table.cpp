#include "host/plugins/connector/stream_table.h"

#include <algorithm>
#include <utility>

#include "host/plugins/connector/messages.h"
#include "module/frame/log.h"
#include "module/frame/string.h"

namespace host::connector {

namespace {

// The server opens a stream right before the call that takes it, so few ever wait.
constexpr size_t kMostUnclaimed = 64;

// As the sessions behind the streams are told apart: ids that differ only behind a zero byte are
// one.
bool IsSameSession(const std::string& a, const std::string& b) {
  const orn::StringT<char> first(a.c_str());
  const orn::StringT<char> second(b.c_str());
  return !orn::MbsLess()(first, second) && !orn::MbsLess()(second, first);
}

}  // namespace

void StreamTable::Attach(std::shared_ptr<link::Outbox> outbox) {
  const Lock lock(mutex_);
  outbox_ = std::move(outbox);
}

void StreamTable::Detach() {
  const Lock lock(mutex_);
  outbox_.reset();
  by_id_.clear();
  telling_end_ = true;
  for (const Claimed& claimed : claimed_)
    claimed.stream->Disconnect();
}

void StreamTable::WaitUntilIdle() {
  for (const auto& stream : AllClaimed())
    stream->WaitUntilIdle();
}

void StreamTable::EndToldToUsers() {
  const Lock lock(mutex_);
  telling_end_ = false;
  TellOrphansLocked();
}

void StreamTable::CloseIntake() {
  {
    const Lock lock(mutex_);
    intake_closed_ = true;
  }
  for (const auto& stream : AllClaimed())
    stream->CloseIntake();
  WaitUntilIdle();
}

void StreamTable::Open(const std::string& id) {
  const Lock lock(mutex_);
  if (outbox_ == nullptr || intake_closed_ || by_id_.contains(id)) return;
  const auto unclaimed = std::count_if(by_id_.begin(), by_id_.end(), [this](const auto& entry) {
    return !IsClaimedLocked(entry.second);
  });
  if (static_cast<size_t>(unclaimed) >= kMostUnclaimed) {
    ORN_LOG(logging::kWarning, L"VeldConnector::StreamTable::Open",
            L"Stream %S is not opened: too many wait to be used.", id.c_str());
    outbox_->Push(StreamClosedMessage(id, "unused"), link::Outbox::Kind::kAnswer);
    return;
  }
  by_id_[id] = std::make_shared<Stream>(id, outbox_, limits_);
}

void StreamTable::Deliver(const std::string& id, const std::string& text) {
  if (const auto stream = Find(id)) stream->Accept(text);
}

void StreamTable::AddCredit(const std::string& id, uint64_t bytes) {
  if (const auto stream = Find(id)) stream->AddCredit(bytes);
}

void StreamTable::Close(const std::string& id) {
  const Lock lock(mutex_);
  const auto entry = by_id_.find(id);
  if (entry == by_id_.end()) return;
  if (IsClaimedLocked(entry->second)) {
    entry->second->EndInward();
    return;
  }
  by_id_.erase(entry);
  outbox_->Push(StreamClosedMessage(id, "unused"), link::Outbox::Kind::kAnswer);
}

void StreamTable::BeginCall(std::shared_ptr<link::Outbox> origin) {
  const Lock lock(mutex_);
  in_call_ = true;
  call_origin_ = std::move(origin);
}

void StreamTable::EndCall() {
  const Lock lock(mutex_);
  in_call_ = false;
  call_origin_.reset();
  for (auto& stream : std::exchange(opened_in_call_, {})) {
    if (!stream->Begin()) orphans_.push_back(std::move(stream));
  }
  if (!telling_end_) TellOrphansLocked();
}

void StreamTable::TellOrphansLocked() {
  for (const auto& stream : std::exchange(orphans_, {})) {
    if (!intake_closed_) stream->TellDead();
  }
}

Stream* StreamTable::Claim(const std::string& id, const void* owner) {
  if (id.empty()) return nullptr;
  Lock lock(mutex_);
  // A shell that exits gives its id free a moment before its session ends. Two users of one id
  // would be the end of the process.
  destroyed_.Wait(lock, [&] { return !IsClaimedLocked(id); });
  const auto entry = by_id_.find(id);
  const bool usable =
      outbox_ != nullptr && (!in_call_ || call_origin_ == outbox_) && id.size() <= kLongestStreamId;
  std::shared_ptr<Stream> stream;
  if (usable && entry != by_id_.end()) {
    stream = entry->second;
  } else {
    stream = std::make_shared<Stream>(id, usable ? outbox_ : nullptr, limits_);
    if (usable) by_id_[id] = stream;
  }
  claimed_.push_back({.stream = stream, .owner = owner});
  stream->StartDelivery();
  if (in_call_) {
    opened_in_call_.push_back(stream);
  } else if (!stream->Begin()) {
    stream->TellDead();
  }
  return stream.get();
}

void StreamTable::Destroy(const VeldConnector::Stream::IConnection* connection) {
  std::shared_ptr<Stream> stream;
  {
    const Lock lock(mutex_);
    const auto claimed =
        std::find_if(claimed_.begin(), claimed_.end(), [connection](const Claimed& candidate) {
          return candidate.stream.get() == connection && !candidate.ending;
        });
    if (claimed == claimed_.end()) return;
    claimed->ending = true;
    stream = claimed->stream;
    if (const auto entry = by_id_.find(stream->id());
        entry != by_id_.end() && entry->second == stream) {
      by_id_.erase(entry);
    }
  }
  // Outside the lock: this waits for a handler that may be claiming or destroying another stream.
  stream->Destroy();
  const Lock lock(mutex_);
  std::erase_if(claimed_, [&](const Claimed& candidate) { return candidate.stream == stream; });
  destroyed_.NotifyAll();
}

bool StreamTable::YieldEnd(const std::string& id) {
  std::shared_ptr<Stream> stream;
  {
    const Lock lock(mutex_);
    for (const Claimed& claimed : claimed_) {
      if (!claimed.ending && IsSameSession(claimed.stream->id(), id)) stream = claimed.stream;
    }
  }
  return stream == nullptr || stream->YieldEnd();
}

void StreamTable::LeaveEndsToUsers() {
  for (const auto& stream : AllClaimed())
    stream->LeaveEndToUser();
}

void StreamTable::LoseHosts() {
  for (const auto& stream : AllClaimed())
    stream->LoseHost();
}

void StreamTable::DestroyAllOf(const void* owner) {
  std::vector<std::shared_ptr<Stream>> streams;
  {
    const Lock lock(mutex_);
    for (const Claimed& claimed : claimed_) {
      if (claimed.owner == owner) streams.push_back(claimed.stream);
    }
  }
  for (const auto& stream : streams)
    Destroy(stream.get());
}

std::shared_ptr<Stream> StreamTable::Find(const std::string& id) {
  const Lock lock(mutex_);
  const auto entry = by_id_.find(id);
  return entry == by_id_.end() ? nullptr : entry->second;
}

bool StreamTable::IsClaimedLocked(const std::shared_ptr<Stream>& stream) const {
  return std::any_of(claimed_.begin(), claimed_.end(),
                     [&](const Claimed& claimed) { return claimed.stream == stream; });
}

bool StreamTable::IsClaimedLocked(const std::string& id) const {
  return std::any_of(claimed_.begin(), claimed_.end(), [&](const Claimed& claimed) {
    return IsSameSession(claimed.stream->id(), id);
  });
}

std::vector<std::shared_ptr<Stream>> StreamTable::AllClaimed() {
  const Lock lock(mutex_);
  std::vector<std::shared_ptr<Stream>> streams;
  for (const Claimed& claimed : claimed_)
    streams.push_back(claimed.stream);
  return streams;
}

}  // namespace host::connector
