#pragma once

#include "host/plugins/storage/transfer_control.h"
#include "module/platform/centralized_storage.h"

namespace host::storage {

using orn::tsrsdk::Product::ICentralizedStorage;

// A download or an upload from its start to its report.
class ITransfer {
 public:
  virtual ~ITransfer() = default;

  // Called once. Where the control has ended already, this comes back without touching the network.
  // Afterwards no file is open and no temporary one is left.
  virtual void Run(TransferControl& control) = 0;
  // Called after Run where the transfer was cancelled before its end was known, maybe too late for
  // Run to see it.
  virtual void OnCancelled() = 0;
  // Called last, for each observer.
  virtual void Report(ICentralizedStorage::IFileManagerEvent& observer,
                      const orn::StringT<wchar_t>& id) const = 0;
};

}  // namespace host::storage
