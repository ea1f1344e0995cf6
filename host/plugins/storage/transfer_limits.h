#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace host::storage {

struct TransferLimits {
  // How often a connection is tried in vain, in a row, before a transfer is given up; with a pause
  // in between that doubles each time.
  int attempts = 6;
  std::chrono::milliseconds pause{500};
  // Silence of the storage that ends a connection.
  std::chrono::milliseconds stall{60'000};
  // Transfers of one direction that run at once, and that wait.
  size_t running = 4;
  size_t waiting = 256;
  // Between the return of the call that starts a transfer and its report, at least: by then the
  // caller has filed what it knows of the transfer.
  std::chrono::milliseconds report_delay{250};
};

}  // namespace host::storage
