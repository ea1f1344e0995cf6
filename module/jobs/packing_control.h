#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "module/frame/string.h"

namespace orn::RemoteAccess {

class ArchiveCompressor;

// What the packing of one archive and those who want it to end know of each other. Any thread.
class PackingControl {
 public:
  // The wish to end. It is asked for between files, and logged there.
  bool IsTaskCancelled(const StringT<wchar_t>& jobId) const;
  void SetCancelled() { cancelled_ = 1; }
  void ClearCancelled() { cancelled_.exchange(0); }

  // Whether the manager ends as a whole.
  bool IsStopped() const { return stopped_ != 0; }
  void SetStopped(bool stopped) { stopped_.exchange(stopped ? 1 : 0); }

  // While a compressor is at work it can be reached by Abort, and must live. Null: none is.
  void SetCompressor(ArchiveCompressor* compressor);
  // False where the one at work has no object to abort.
  bool AbortCompressor();

 private:
  std::atomic<uint32_t> stopped_{0};
  std::atomic<uint8_t> cancelled_{0};
  std::mutex mutex_;
  ArchiveCompressor* compressor_ = nullptr;  // Guarded by mutex_. Not owned.
};

}  // namespace orn::RemoteAccess
