#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/compressor/file_source.h"

struct libdeflate_compressor;

namespace host {

// A file that was deflated as a whole.
struct DeflatedFile {
  enum class Outcome {
    kDeflated,
    kTooLarge,  // It has to be packed piece by piece.
    kFailed,    // It could not be opened or read.
  };

  Outcome outcome = Outcome::kFailed;
  std::vector<char> data;
  uint64_t size = 0;  // of the file
  uint32_t crc = 0;   // of the file
};

// Deflates the files of an archive on a second thread while the first writes the archive, with a
// bounded amount of memory. A file that is asked for before its turn is deflated by who asks: so
// both are at work. Files up to 2 MiB only; larger ones are left to libzip, which packs them as it
// reads them, while this goes on with those that follow.
//
//   DeflateAhead ahead(paths, aborted);
//   for (size_t i = 0; i < paths.size(); ++i) Write(ahead.Take(i));
class DeflateAhead {
 public:
  // A file, and how large it was.
  struct Input {
    std::wstring path;
    uint64_t size = 0;
  };

  // `aborted` is not owned, and asked before each file.
  DeflateAhead(std::vector<Input> inputs, const std::atomic<bool>& aborted);
  DeflateAhead(const DeflateAhead&) = delete;
  DeflateAhead& operator=(const DeflateAhead&) = delete;
  // Waits for the file that is being deflated.
  ~DeflateAhead();

  // Waits until the file `index` is there. Each once, in their order; one thread.
  DeflatedFile Take(size_t index);

 private:
  struct Slot {
    enum class State { kWaiting, kAtWork, kDone };

    Input input;
    State state = State::kWaiting;
    DeflatedFile result;
  };
  class Deflater;

  void Run();
  // The next file for the second thread, or the number of slots.
  size_t NextLocked() const;

  const std::atomic<bool>& aborted_;
  const std::unique_ptr<Deflater> deflater_;  // Take's own.

  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by mutex_.
  std::vector<Slot> slots_;
  size_t taken_ = 0;       // how many slots are behind
  size_t done_bytes_ = 0;  // of results that wait to be taken
  bool stopping_ = false;

  std::thread thread_;
};

}  // namespace host
