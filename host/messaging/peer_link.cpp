#include "host/messaging/peer_link.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "host/messaging/pipe_access.h"
#include "host/messaging/user_access.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host::channels {

namespace {

// Bytes that may wait for a slow receiver before it gets no more. Callers wait for their answers,
// so calls pile up only where many have given up waiting.
constexpr size_t kPostLimit = 16 * 1024 * 1024;
constexpr size_t kCallLimit = 128 * 1024 * 1024;

// Milliseconds for what has been sent before its sender has gone to arrive. The pipe tells of its
// end by itself, but where the far end's process lives on and keeps it.
constexpr uint32_t kFinishLimit = 1000;

uint32_t StatusOf(PipeStream::Sent sent) {
  switch (sent) {
    case PipeStream::kSent:
    case PipeStream::kWaiting:
      return 0;
    case PipeStream::kFull:
      return error::kBusy;
    case PipeStream::kLost:
      break;
  }
  return error::kNotConnected;
}

}  // namespace

PeerLink::PeerLink(const NodeKey& peer, std::wstring pipe_name, uint64_t own_number, bool user)
    : peer_(peer),
      pipe_name_(std::move(pipe_name)),
      user_(user),
      needed_(CreateEventW(nullptr, /*manualReset=*/FALSE, /*signalled=*/FALSE, nullptr)),
      stream_(user ? kUserFrameLimit : kFrameLimit) {
  stream_.Write(EncodeHello(own_number), kPostLimit);
  thread_ = std::thread(&PeerLink::Run, this);
}

PeerLink::~PeerLink() {
  Break();
  thread_.join();
}

uint32_t PeerLink::Post(std::string frame) {
  const PipeStream::Sent sent =
      stream_.Write(std::move(frame), user_ ? kUserWaitingLimit : kPostLimit);
  if (sent == PipeStream::kWaiting) SetEvent(needed_.get());
  return StatusOf(sent);
}

uint32_t PeerLink::Call(std::string frame, const std::shared_ptr<PendingCall>& call, bool driven) {
  {
    const std::lock_guard lock(mutex_);
    if (stream_.broken() || finishing_) return error::kNotConnected;
    calls_.emplace(call->id(), Waiting{call, driven});
    if (!driven) ++undriven_;
  }
  call->AddTarget();
  const uint32_t status = StatusOf(stream_.Write(std::move(frame), kCallLimit));
  if (status != 0) {
    std::unique_lock lock(mutex_);
    // Where it is gone the link broke meanwhile, and the call is told.
    if (TakeLocked(call->id()) != nullptr) call->DropTarget();
  } else if (!driven) {
    SetEvent(needed_.get());
  }
  return status;
}

void PeerLink::Drive(PendingCall& call, const Deadline& deadline) {
  std::unique_lock lock(mutex_);
  while (!call.done() && deadline.Left() > 0) {
    if (leading_) {
      followers_.push_back(&call);
      lock.unlock();
      call.Wait(deadline.Left());
      lock.lock();
      std::erase(followers_, &call);
      continue;
    }
    leading_ = true;
    lock.unlock();
    call.SetPumped(&stream_);
    Lead([&] { return call.done(); }, &deadline);
    call.SetPumped(nullptr);
    lock.lock();
    leading_ = false;
  }
  // Whoever led last may have woken this caller to lead on.
  if (!leading_) PassLeadLocked();
}

void PeerLink::Forget(const PendingCall& call) {
  const std::lock_guard lock(mutex_);
  TakeLocked(call.id());
}

void PeerLink::Break() {
  stream_.Break();
  SetEvent(needed_.get());
}

void PeerLink::Finish() {
  {
    const std::lock_guard lock(mutex_);
    FinishLocked();
  }
  stream_.Wake();
  SetEvent(needed_.get());
}

void PeerLink::FinishLocked() {
  finishing_ = true;
  if (calls_.empty()) stream_.Break();
}

void PeerLink::Run() {
  orn::SetThreadName(L"Messaging link");
  const bool connected = Connect();
  const orn::UniqueHandle process(OpenProcess(SYNCHRONIZE, /*inherit=*/FALSE, peer_.pid));
  std::unique_lock lock(mutex_);
  if (!connected) stream_.Break();
  leading_ = false;
  PassLeadLocked();
  const HANDLE objects[] = {needed_.get(), process.get()};
  std::optional<Deadline> deadline;  // While finishing.
  while (!stream_.broken()) {
    if (finishing_ && !deadline) deadline.emplace(kFinishLimit);
    const bool watches = process && !finishing_;
    lock.unlock();
    // Nobody reads while there is nothing to do, so the pipe would not tell of the far end's death.
    const DWORD result = WaitForMultipleObjects(watches ? 2 : 1, objects, /*waitAll=*/FALSE,
                                                deadline ? deadline->Left() : INFINITE);
    if (result == WAIT_TIMEOUT) stream_.Break();
    lock.lock();
    if (result == WAIT_OBJECT_0 + 1) FinishLocked();
    if (leading_ || !NeedsThreadLocked()) continue;
    leading_ = true;
    const bool finishing = finishing_;
    lock.unlock();
    Lead(
        [&] {
          const std::lock_guard guard(mutex_);
          return !NeedsThreadLocked() || finishing_ != finishing;
        },
        deadline ? &*deadline : nullptr);
    lock.lock();
    leading_ = false;
    PassLeadLocked();
  }
  lock.unlock();
  FailAll();
}

bool PeerLink::Connect() {
  orn::UniqueFile pipe = OpenPipe(pipe_name_, /*patient=*/!user_);
  if (!pipe) {
    ORN_LOG(logging::kNotice, L"host::channels::PeerLink",
            L"Process %u cannot be connected to. Error: %u.", peer_.pid, GetLastError());
    return false;
  }
  if (ServerOf(pipe.get()) != peer_.pid) {
    ORN_LOG(logging::kWarning, L"host::channels::PeerLink",
            L"The pipe of process %u is held by process %u.", peer_.pid, ServerOf(pipe.get()));
    return false;
  }
  stream_.Attach(std::move(pipe));
  return true;
}

template <class Predicate>
void PeerLink::Lead(const Predicate& enough, const Deadline* deadline) {
  Frame frame;
  while (!enough()) {
    switch (stream_.Next(frame, deadline != nullptr ? deadline->Left() : INFINITE)) {
      case PipeStream::kFrame:
        if (Handle(frame)) break;
        ORN_LOG(logging::kWarning, L"host::channels::PeerLink",
                L"Process %u sent what is no answer; its connection is closed.", peer_.pid);
        stream_.Break();
        break;
      case PipeStream::kWoken:
        break;
      case PipeStream::kTimeout:
        return;
      case PipeStream::kBroken:
        if (stream_.malformed()) {
          ORN_LOG(logging::kWarning, L"host::channels::PeerLink",
                  L"Process %u sent what is no frame; its connection is closed.", peer_.pid);
        }
        FailAll();
        SetEvent(needed_.get());
        return;
    }
  }
}

bool PeerLink::Handle(const Frame& frame) {
  std::shared_ptr<PendingCall> call;
  if (frame.kind == FrameKind::kAnswer) {
    std::optional<Answer> answer = DecodeAnswer(frame.payload);
    if (!answer) return false;
    {
      const std::lock_guard lock(mutex_);
      call = TakeLocked(answer->id);
    }
    // What comes for a caller who has gone is no fault.
    if (call != nullptr) call->Answer(std::move(answer->content));
    return true;
  }
  if (frame.kind != FrameKind::kLetGo) return false;
  const std::optional<uint32_t> id = DecodeLetGo(frame.payload);
  if (!id) return false;
  {
    const std::lock_guard lock(mutex_);
    call = TakeLocked(*id);
  }
  if (call != nullptr) call->DropTarget();
  return true;
}

void PeerLink::FailAll() {
  std::map<uint32_t, Waiting> failed;
  {
    const std::lock_guard lock(mutex_);
    failed.swap(calls_);
    undriven_ = 0;
  }
  for (const auto& [id, waiting] : failed)
    waiting.call->DropTarget();
}

void PeerLink::PassLeadLocked() {
  if (!followers_.empty()) followers_.front()->Nudge();
  if (NeedsThreadLocked()) SetEvent(needed_.get());
}

std::shared_ptr<PendingCall> PeerLink::TakeLocked(uint32_t id) {
  const auto found = calls_.find(id);
  if (found == calls_.end()) return nullptr;
  const Waiting waiting = std::move(found->second);
  calls_.erase(found);
  if (!waiting.driven) --undriven_;
  return waiting.call;
}

}  // namespace host::channels
