#pragma once

#include <utility>

#include "module/frame/windows.h"

// Owning Win32 handles: `UniqueHandle` where null means none (events, processes, jobs),
// `UniqueFile` where INVALID_HANDLE_VALUE does (CreateFileW). Closing keeps GetLastError.

namespace orn {

struct NullHandlePolicy {
  static HANDLE Invalid() noexcept { return nullptr; }
};

struct FileHandlePolicy {
  static HANDLE Invalid() noexcept { return INVALID_HANDLE_VALUE; }
};

template <class Policy>
class UniqueHandleT {
 public:
  UniqueHandleT() noexcept = default;
  explicit UniqueHandleT(HANDLE handle) noexcept : handle_(handle) {}
  UniqueHandleT(UniqueHandleT&& other) noexcept : handle_(other.release()) {}
  UniqueHandleT& operator=(UniqueHandleT&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  UniqueHandleT(const UniqueHandleT&) = delete;
  UniqueHandleT& operator=(const UniqueHandleT&) = delete;
  ~UniqueHandleT() { reset(); }

  HANDLE get() const noexcept { return handle_; }
  explicit operator bool() const noexcept { return handle_ != Policy::Invalid(); }

  // Closes what is held and takes `handle` over.
  void reset(HANDLE handle = Policy::Invalid()) noexcept {
    const HANDLE old = std::exchange(handle_, handle);
    if (old != Policy::Invalid()) {
      const DWORD error = GetLastError();
      CloseHandle(old);
      SetLastError(error);
    }
  }

  HANDLE release() noexcept { return std::exchange(handle_, Policy::Invalid()); }

  // Closes what is held and gives the address for a call that stores a handle.
  HANDLE* put() noexcept {
    reset();
    return &handle_;
  }

 private:
  HANDLE handle_ = Policy::Invalid();
};

using UniqueHandle = UniqueHandleT<NullHandlePolicy>;
using UniqueFile = UniqueHandleT<FileHandlePolicy>;

}  // namespace orn
