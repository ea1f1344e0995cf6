#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "host/common/sync.h"
#include "host/plugins/link/win_http_operations.h"

namespace host::storage {

// What may end a transfer before its time, from outside: a cancel, or its time-out. Any thread.
class TransferControl {
 public:
  // No time-out is the largest time point.
  explicit TransferControl(Clock::time_point deadline) : deadline_(deadline) {}
  TransferControl(const TransferControl&) = delete;
  TransferControl& operator=(const TransferControl&) = delete;

  Clock::time_point deadline() const { return deadline_; }

  // Ends every wait of the transfer, now and later.
  void Cancel();
  // 0 while the transfer may go on; then 1223 or 1460.
  uint32_t Ended();
  // Waits that long; false, and earlier, when the transfer has ended.
  bool Pause(std::chrono::milliseconds duration);

  // The request under way, for a cancel to reach it; null when there is none. One at a time.
  void SetOperations(std::shared_ptr<link::WinHttpOperations> operations);

 private:
  const Clock::time_point deadline_;

  Mutex mutex_;
  Condition changed_;
  bool cancelled_ = false;
  std::shared_ptr<link::WinHttpOperations> operations_;
};

}  // namespace host::storage
