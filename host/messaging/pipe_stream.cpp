#include "host/messaging/pipe_stream.h"

#include <utility>

namespace host::channels {

namespace {

constexpr ULONG_PTR kIoKey = 1;
constexpr ULONG_PTR kWakeKey = 2;
constexpr uint32_t kCancelLimit = 10000;  // Milliseconds.

}  // namespace

PipeStream::PipeStream(size_t frame_limit)
    : port_(CreateIoCompletionPort(INVALID_HANDLE_VALUE, /*existing=*/nullptr, /*key=*/0,
                                   /*threads=*/1)),
      buffer_(frame_limit) {}

PipeStream::~PipeStream() {
  Break();
  // Something may have begun just after the break.
  if (pipe_) CancelIoEx(pipe_.get(), /*overlapped=*/nullptr);
  // The structures and buffers of what is pending must outlive it.
  while (read_pending_ || write_pending_) {
    DWORD count = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* done = nullptr;
    GetQueuedCompletionStatus(port_.get(), &count, &key, &done, kCancelLimit);
    if (done == nullptr && key != kWakeKey) break;
    if (done == &read_) read_pending_ = false;
    if (done == &write_) write_pending_ = false;
  }
}

void PipeStream::Attach(orn::UniqueFile pipe) {
  pipe_ = std::move(pipe);
  if (CreateIoCompletionPort(pipe_.get(), port_.get(), kIoKey, /*threads=*/0) == nullptr ||
      !SetFileCompletionNotificationModes(
          pipe_.get(), FILE_SKIP_COMPLETION_PORT_ON_SUCCESS | FILE_SKIP_SET_EVENT_ON_HANDLE)) {
    Break();
    return;
  }
  attached_pipe_ = pipe_.get();
  const std::lock_guard lock(mutex_);
  attached_ = true;
  StartWriteLocked();
}

PipeStream::Sent PipeStream::Write(std::string frame, size_t limit) {
  const std::lock_guard lock(mutex_);
  if (broken_) return kLost;
  if (waiting_ > limit) return kFull;
  waiting_ += frame.size();
  queue_.push_back(std::move(frame));
  if (!write_pending_) StartWriteLocked();
  if (broken_) return kLost;
  return queue_.empty() ? kSent : kWaiting;
}

void PipeStream::StartWriteLocked() {
  while (attached_ && !broken_ && !queue_.empty()) {
    const std::string& frame = queue_.front();
    write_ = OVERLAPPED{};
    if (!WriteFile(pipe_.get(), frame.data(), static_cast<DWORD>(frame.size()), nullptr, &write_)) {
      write_pending_ = GetLastError() == ERROR_IO_PENDING;
      if (!write_pending_) Break();
      return;
    }
    waiting_ -= frame.size();
    queue_.pop_front();
  }
}

bool PipeStream::StartRead() {
  size_t room = 0;
  char* const place = buffer_.Room(&room);
  read_ = OVERLAPPED{};
  DWORD count = 0;
  if (ReadFile(pipe_.get(), place, static_cast<DWORD>(room), &count, &read_)) {
    buffer_.Commit(count);
    return true;
  }
  read_pending_ = GetLastError() == ERROR_IO_PENDING;
  if (!read_pending_) Break();
  return read_pending_;
}

PipeStream::Event PipeStream::Next(Frame& frame, uint32_t timeout, bool reading) {
  for (;;) {
    if (reading) {
      switch (buffer_.Next(frame)) {
        case FrameBuffer::kFrame:
          return kFrame;
        case FrameBuffer::kBad:
          malformed_ = true;
          Break();
          break;
        case FrameBuffer::kIncomplete:
          break;
      }
    }
    if (broken_) return kBroken;
    if (reading && !read_pending_) {
      if (!StartRead()) return kBroken;
      if (!read_pending_) continue;
    }
    DWORD count = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* done = nullptr;
    const bool good = GetQueuedCompletionStatus(port_.get(), &count, &key, &done, timeout);
    if (done == &read_) {
      read_pending_ = false;
      if (good) {
        buffer_.Commit(count);
      } else {
        Break();
      }
    } else if (done == &write_) {
      const std::lock_guard lock(mutex_);
      write_pending_ = false;
      if (!good || count != queue_.front().size()) {
        Break();
      } else {
        waiting_ -= queue_.front().size();
        queue_.pop_front();
        StartWriteLocked();
        if (!reading) return kWoken;
      }
    } else if (key == kWakeKey) {
      if (broken_) return kBroken;
      return kWoken;
    } else {
      return kTimeout;
    }
  }
}

bool PipeStream::Probe() const {
  const HANDLE pipe = attached_pipe_;
  return pipe == nullptr || PeekNamedPipe(pipe, nullptr, 0, nullptr, nullptr, nullptr);
}

void PipeStream::Wake() {
  PostQueuedCompletionStatus(port_.get(), /*bytes=*/0, kWakeKey, /*overlapped=*/nullptr);
}

void PipeStream::Break() {
  if (broken_.exchange(true)) return;
  if (const HANDLE pipe = attached_pipe_) CancelIoEx(pipe, /*overlapped=*/nullptr);
  Wake();
}

}  // namespace host::channels
