#include "host/common/running_process.h"

#include "host/common/security.h"

namespace host {

RunningProcess::RunningProcess(uint32_t pid)
    : process_(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, /*bInheritHandle=*/FALSE, pid)) {
  FILETIME created{};
  FILETIME unused{};
  DWORD exit_code = 0;
  // A process that has ended can be opened for as long as somebody has a handle on it.
  if (!process_ || !GetExitCodeProcess(process_.get(), &exit_code) || exit_code != STILL_ACTIVE ||
      !GetProcessTimes(process_.get(), &created, &unused, &unused, &unused)) {
    return;
  }
  created_ = uint64_t{created.dwHighDateTime} << 32 | created.dwLowDateTime;
}

std::wstring RunningProcess::ImagePath() const {
  std::wstring path(32768, L'\0');
  DWORD length = static_cast<DWORD>(path.size());
  if (!QueryFullProcessImageNameW(process_.get(), /*dwFlags=*/0, path.data(), &length)) return {};
  path.resize(length);
  return path;
}

std::wstring RunningProcess::UserSid() const {
  orn::UniqueHandle token;
  if (!OpenProcessToken(process_.get(), TOKEN_QUERY, token.put())) return {};
  return UserOfToken(token.get());
}

std::optional<uint64_t> RunningProcess::Logon() const {
  orn::UniqueHandle token;
  if (!OpenProcessToken(process_.get(), TOKEN_QUERY, token.put())) {
    return std::nullopt;
  }
  return LogonOfToken(token.get());
}

bool RunningProcess::IsAdministrator() const {
  orn::UniqueHandle token;
  return OpenProcessToken(process_.get(), TOKEN_QUERY | TOKEN_DUPLICATE, token.put()) &&
         IsAdministratorToken(token.get());
}

}  // namespace host
