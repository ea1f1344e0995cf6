#pragma once

#include <cstdint>
#include <string>

namespace host::history {

struct Verification {
  enum class Finding {
    kIntact,
    kChanged,     // The record `first_bad` is not as it was written, or was put in.
    kRemoved,     // The record `first_bad` is not there any more.
    kUnreadable,  // For the reason `status`.
  };

  Finding finding = Finding::kUnreadable;
  int64_t first_bad = 0;  // A sequence: of the first one, where there are several.
  int64_t records = 0;    // How many the store has.
  // Whether the registry knows the store's last record. Otherwise, as for a copy of the file, it
  // cannot be told whether records were removed at the end, or all of it was written anew.
  bool anchored = false;
  uint32_t status = 0;  // As HistoryReader has it.
};

// Reads the whole store at `path`, as any user may, and compares each record with its hash and the
// one before, and the last one with the registry. It lets the agent write meanwhile. Where a store
// was written anew so well that only the registry tells, `first_bad` is the last record that the
// registry vouches for, and those before it may be changed as well.
Verification VerifyHistory(const std::wstring& path);

}  // namespace host::history
