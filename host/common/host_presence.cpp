#include "host/common/host_presence.h"

#include <algorithm>

#include "host/common/security.h"
#include "module/frame/error_codes.h"

namespace host {
namespace {

constexpr DWORD kGuardLimit = 10000;  // Milliseconds; it is held for microseconds.

// Gets a mutex, also from an owner who died with it.
bool Take(HANDLE mutex, DWORD limit) {
  const DWORD result = WaitForSingleObject(mutex, limit);
  return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

class TakenMutex {
 public:
  TakenMutex(HANDLE mutex, DWORD limit) : mutex_(Take(mutex, limit) ? mutex : nullptr) {}
  TakenMutex(const TakenMutex&) = delete;
  TakenMutex& operator=(const TakenMutex&) = delete;
  ~TakenMutex() {
    if (mutex_ != nullptr) ReleaseMutex(mutex_);
  }
  explicit operator bool() const { return mutex_ != nullptr; }

 private:
  const HANDLE mutex_;
};

std::wstring Instance() {
  wchar_t value[128];
  const DWORD length = GetEnvironmentVariableW(kInstanceVariable, value, 128);
  return length >= 128 ? L"/" : std::wstring(value, length);  // Too long: no good name.
}

std::wstring OwnEventName(const std::wstring& prefix) {
  return prefix + std::to_wstring(GetCurrentProcessId());
}

}  // namespace

bool IsHostName(std::wstring_view name) {
  return !name.empty() && name.size() <= 64 && std::ranges::all_of(name, [](wchar_t c) {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z') || (c >= L'0' && c <= L'9') ||
           c == L'.' || c == L'_' || c == L'-';
  });
}

uint32_t HostPresence::Open(std::wstring_view name) {
  const std::wstring instance = Instance();
  if (!IsHostName(name) || (!instance.empty() && !IsHostName(instance))) return error::kInvalidName;
  // All sessions see one set: a service lives in another one than the person at the machine.
  prefix_ = L"Global\\Tsr.Host/" + instance + L'/' + std::wstring(name) + L'/';
  // A low process of the same user opens what was made with full rights, and the other way round.
  SecurityDescriptor access(AgentObjectAccess());
  const auto mutex = [&](const wchar_t* kind) {
    return orn::UniqueHandle(
        CreateMutexW(access.attributes(), /*owned=*/FALSE, (prefix_ + kind).c_str()));
  };
  const auto event = [&](const wchar_t* kind) {
    return orn::UniqueHandle(CreateEventW(access.attributes(), /*manualReset=*/TRUE,
                                          /*signalled=*/FALSE, (prefix_ + kind).c_str()));
  };
  guard_ = mutex(L"Guard");
  if (guard_) claim_ = mutex(L"Claim");
  if (claim_) life_ = mutex(L"Life");
  if (life_) started_ = event(L"Started");
  if (started_) stop_ = event(L"Stop");
  return stop_ ? 0 : GetLastError();
}

uint32_t HostPresence::Declare() {
  const TakenMutex guard(guard_.get(), kGuardLimit);
  if (!guard) return error::kTimeout;
  // A mutex would let its owner in a second time.
  if (IsDeclaredHere() || !Take(claim_.get(), /*limit=*/0)) return error::kAlreadyExists;
  // Whoever waited for the host before us has it for a moment at most.
  Take(life_.get(), INFINITE);
  declared_here_.reset(CreateEventW(nullptr, TRUE, FALSE, OwnEventName(prefix_).c_str()));
  ResetEvent(stop_.get());
  SetEvent(started_.get());
  return 0;
}

uint32_t HostPresence::IsRunning(bool& running) {
  const TakenMutex guard(guard_.get(), kGuardLimit);
  running = guard && IsClaimed();
  return guard ? 0 : error::kTimeout;
}

bool HostPresence::IsDeclaredHere() const {
  return static_cast<bool>(
      orn::UniqueHandle(OpenEventW(SYNCHRONIZE, FALSE, OwnEventName(prefix_).c_str())));
}

uint32_t HostPresence::RequestStop(bool& running) {
  const TakenMutex guard(guard_.get(), kGuardLimit);
  running = guard && IsClaimed();
  if (running) SetEvent(stop_.get());
  return guard ? 0 : error::kTimeout;
}

bool HostPresence::IsClaimed() {
  // The owner's own thread would get it.
  if (IsDeclaredHere()) return true;
  if (!Take(claim_.get(), /*limit=*/0)) return true;
  ReleaseMutex(claim_.get());
  ResetEvent(started_.get());
  return false;
}

}  // namespace host
