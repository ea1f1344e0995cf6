#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "module/frame/handle.h"

// A process that a test starts, with its output and errors joined in one pipe. Ends with this.
class Child {
 public:
  // With the rights of `token` where that is not null.
  explicit Child(std::wstring command_line, HANDLE token = nullptr);
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() { Kill(); }

  // The next line of the output, without its end; nothing at the end of all.
  std::optional<std::string> ReadLine();
  void Kill();
  // Waits for its own end. Gives its exit code.
  DWORD Await();
  int32_t pid() const { return static_cast<int32_t>(pid_); }

 private:
  orn::UniqueHandle process_;
  orn::UniqueHandle input_;
  orn::UniqueHandle output_;
  DWORD pid_ = 0;
};
