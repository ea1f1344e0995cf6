#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

#include "host/messaging/message_codec.h"
#include "module/frame/handle.h"

namespace host::channels {

// Frames over one end of a pipe. Any thread writes, one at a time pumps:
//
//   while (stream.Next(frame, INFINITE) == PipeStream::kFrame) Handle(frame);
//
// A frame goes out from the thread that writes it where the pipe takes it at once; else it waits
// here, and the pump sends it on. So somebody has to pump while frames wait. All that is pending
// completes to a port and not to events: then Windows does not cancel it when the thread that began
// it ends.
class PipeStream {
 public:
  enum Event { kFrame, kWoken, kTimeout, kBroken };
  enum Sent { kSent, kWaiting, kFull, kLost };

  explicit PipeStream(size_t frame_limit);
  PipeStream(const PipeStream&) = delete;
  PipeStream& operator=(const PipeStream&) = delete;
  // Nobody uses it any more. Waits for what is pending to be cancelled.
  ~PipeStream();

  // Goes to work on an overlapped pipe; what was written before is sent. Once.
  void Attach(orn::UniqueFile pipe);

  // Any thread; never blocks. kFull where more than `limit` bytes wait already; kLost after a
  // break. kWaiting: sent when the pump gets to it.
  Sent Write(std::string frame, size_t limit);

  // The pump. `timeout` is in milliseconds. With `reading` false it only sends on, and
  // returns kWoken after each step. kBroken once and for all; a frame is valid until the next call.
  Event Next(Frame& frame, uint32_t timeout, bool reading = true);

  // Any thread. The pump returns kWoken once.
  void Wake();
  // Any thread. Ends the stream; the pump returns kBroken.
  void Break();
  bool broken() const { return broken_; }
  // Any thread. False where it can be told that the far end has gone, though nobody pumps.
  bool Probe() const;
  // The pipe, after Attach.
  HANDLE pipe() const { return pipe_.get(); }
  // The far end sent what is no frame.
  bool malformed() const { return malformed_; }
  size_t waiting() const { return waiting_; }

 private:
  // False when the stream broke.
  bool StartRead();
  void StartWriteLocked();

  // Fixed after Attach.
  orn::UniqueFile pipe_;
  const orn::UniqueHandle port_;

  std::atomic<HANDLE> attached_pipe_{nullptr};  // pipe_ for Break.
  std::atomic<bool> broken_{false};
  std::atomic<bool> malformed_{false};
  std::atomic<size_t> waiting_{0};  // Bytes in queue_.

  // The pump's.
  FrameBuffer buffer_;
  OVERLAPPED read_{};
  bool read_pending_ = false;

  std::mutex mutex_;
  // Guarded by mutex_.
  OVERLAPPED write_{};
  bool attached_ = false;
  bool write_pending_ = false;  // The first of queue_ is under way.
  std::deque<std::string> queue_;
};

}  // namespace host::channels
