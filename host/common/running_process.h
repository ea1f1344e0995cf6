#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "module/frame/handle.h"

namespace host {

// A process that cannot be taken for another: as long as this object is there, its id is not given
// to a new one. Any thread.
class RunningProcess {
 public:
  // Empty where nobody has that id or the process is closed to us.
  explicit RunningProcess(uint32_t pid);

  explicit operator bool() const noexcept { return created_ != 0; }
  // Tells it from every other process that has had or will have its id.
  uint64_t created() const noexcept { return created_; }
  // The image's full path; empty where it cannot be read.
  std::wstring ImagePath() const;
  // Its user, as the text of the security identifier; empty where its token cannot be read.
  std::wstring UserSid() const;
  // As LogonOfToken.
  std::optional<uint64_t> Logon() const;
  // False where its token cannot be read.
  bool IsAdministrator() const;

 private:
  orn::UniqueHandle process_;
  uint64_t created_ = 0;
};

}  // namespace host
