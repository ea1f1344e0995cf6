#include "host/plugins/storage/transfer_control.h"

#include <algorithm>
#include <utility>

#include "host/plugins/storage/transfer_errors.h"
#include "module/frame/error_codes.h"

namespace host::storage {

void TransferControl::Cancel() {
  const Lock lock(mutex_);
  cancelled_ = true;
  if (operations_ != nullptr) operations_->End();
  changed_.NotifyAll();
}

uint32_t TransferControl::Ended() {
  const Lock lock(mutex_);
  if (cancelled_) return kAborted;
  return Clock::now() >= deadline_ ? error::kTimeout : 0;
}

bool TransferControl::Pause(std::chrono::milliseconds duration) {
  Lock lock(mutex_);
  changed_.WaitUntil(lock, std::min(deadline_, Clock::now() + duration),
                     [this] { return cancelled_; });
  lock.unlock();
  return Ended() == 0;
}

void TransferControl::SetOperations(std::shared_ptr<link::WinHttpOperations> operations) {
  const Lock lock(mutex_);
  operations_ = std::move(operations);
  if (cancelled_ && operations_ != nullptr) operations_->End();
}

}  // namespace host::storage
