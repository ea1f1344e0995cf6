#include "host/compressor/deflate_ahead.h"

#include <libdeflate.h>

#include <utility>

#include "module/frame/thread_name.h"
#include "module/frame/windows.h"

namespace host {

namespace {

constexpr uint64_t kLargestWhole = 2 * 1024 * 1024;
// What may wait to be taken; the last one may reach beyond.
constexpr size_t kWindow = 4 * 1024 * 1024;
constexpr int kNormalLevel = 6;

}  // namespace

// One thread's own.
class DeflateAhead::Deflater {
 public:
  explicit Deflater(const std::atomic<bool>& aborted) : aborted_(aborted) {}

  DeflatedFile Deflate(const Input& input) {
    DeflatedFile result;
    FileFacts facts;
    const orn::UniqueFile file = OpenShared(input.path, facts);
    if (!file || compressor_ == nullptr || aborted_) return result;
    if (facts.size > kLargestWhole) {
      result.outcome = DeflatedFile::Outcome::kTooLarge;
      return result;
    }
    content_.resize(facts.size);
    if (!ReadWhole(file.get())) return result;
    result.size = content_.size();
    result.crc = libdeflate_crc32(0, content_.data(), content_.size());
    result.data.resize(libdeflate_deflate_compress_bound(compressor_.get(), content_.size()));
    result.data.resize(libdeflate_deflate_compress(compressor_.get(), content_.data(),
                                                   content_.size(), result.data.data(),
                                                   result.data.size()));
    result.data.shrink_to_fit();
    result.outcome = DeflatedFile::Outcome::kDeflated;
    return result;
  }

 private:
  struct FreeCompressor {
    void operator()(libdeflate_compressor* compressor) const {
      libdeflate_free_compressor(compressor);
    }
  };

  // The file may have got shorter since it was measured, and so does its content.
  bool ReadWhole(HANDLE file) {
    DWORD count = 0;
    size_t length = 0;
    while (length < content_.size()) {
      if (!ReadFile(file, content_.data() + length, static_cast<DWORD>(content_.size() - length),
                    &count, /*overlapped=*/nullptr)) {
        if (GetLastError() != ERROR_HANDLE_EOF) return false;
        break;
      }
      if (count == 0) break;
      length += count;
    }
    content_.resize(length);
    return true;
  }

  const std::atomic<bool>& aborted_;
  const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor_{
      libdeflate_alloc_compressor(kNormalLevel)};
  std::vector<char> content_;
};

DeflateAhead::DeflateAhead(std::vector<Input> inputs, const std::atomic<bool>& aborted)
    : aborted_(aborted), deflater_(std::make_unique<Deflater>(aborted)) {
  for (Input& input : inputs)
    slots_.push_back({.input = std::move(input), .result = {}});
  thread_ = std::thread([this] {
    orn::SetThreadName(L"Archive deflate");
    Run();
  });
}

DeflateAhead::~DeflateAhead() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    changed_.notify_all();
  }
  thread_.join();
}

DeflatedFile DeflateAhead::Take(size_t index) {
  std::unique_lock lock(mutex_);
  taken_ = index + 1;
  Slot& slot = slots_[index];
  if (slot.state == Slot::State::kWaiting) {
    lock.unlock();
    return deflater_->Deflate(slot.input);
  }
  changed_.wait(lock, [&] { return slot.state == Slot::State::kDone; });
  done_bytes_ -= slot.result.data.size();
  changed_.notify_all();
  return std::exchange(slot.result, {});
}

void DeflateAhead::Run() {
  Deflater deflater(aborted_);
  std::unique_lock lock(mutex_);
  for (;;) {
    size_t next = slots_.size();
    changed_.wait(lock, [&] {
      next = NextLocked();
      return stopping_ || next == slots_.size() || done_bytes_ < kWindow;
    });
    if (stopping_ || next == slots_.size()) return;
    Slot& slot = slots_[next];
    slot.state = Slot::State::kAtWork;
    lock.unlock();
    DeflatedFile result = deflater.Deflate(slot.input);
    lock.lock();
    slot.result = std::move(result);
    slot.state = Slot::State::kDone;
    done_bytes_ += slot.result.data.size();
    changed_.notify_all();
  }
}

size_t DeflateAhead::NextLocked() const {
  size_t next = taken_;
  while (next < slots_.size() &&
         (slots_[next].state != Slot::State::kWaiting || slots_[next].input.size > kLargestWhole)) {
    ++next;
  }
  return next;
}

}  // namespace host
