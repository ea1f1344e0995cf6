#pragma once

#include <string>

#include "module/frame/handle.h"

namespace remote_calls {

// This program in another role, with what it prints. Ends with this object.
class PeerProcess {
 public:
  // By `token` where that is not null.
  explicit PeerProcess(const std::string& role, HANDLE token = nullptr);
  explicit PeerProcess(const std::string& role, HANDLE token, const std::wstring& program);
  PeerProcess(const PeerProcess&) = delete;
  PeerProcess& operator=(const PeerProcess&) = delete;
  ~PeerProcess();

  // Without its end; empty at the end of all.
  std::string ReadLine();
  DWORD pid() const { return pid_; }

 private:
  orn::UniqueHandle process_;
  orn::UniqueHandle output_;
  DWORD pid_ = 0;
};

// What a role prints.
void Print(const std::string& line);
// A role that stays: returns never, and ends with the process that started it.
[[noreturn]] void StayAsLongAs(DWORD parent);

}  // namespace remote_calls
