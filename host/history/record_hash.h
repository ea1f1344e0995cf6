#pragma once

#include <memory>
#include <string_view>

#include "host/history/history_record.h"
#include "module/frame/windows.h"

#include <bcrypt.h>

namespace host::history {

// Makes the hashes that chain the records, with Windows' cryptography. Not synchronised.
class RecordHash {
 public:
  RecordHash();

  // Of the record's canonical form and the hash of the one before, which is all zeros for the
  // first. False where Windows cannot.
  bool Compute(const Hash& previous, std::string_view record, Hash& hash);

 private:
  struct Close {
    void operator()(void* provider) const { BCryptCloseAlgorithmProvider(provider, /*flags=*/0); }
  };
  struct Destroy {
    void operator()(void* hash) const { BCryptDestroyHash(hash); }
  };

  std::unique_ptr<void, Close> provider_;
  std::unique_ptr<void, Destroy> hash_;  // Null where it could not be made.
};

}  // namespace host::history
