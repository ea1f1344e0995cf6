#include "host/console/single_instance.h"

#include <cstdio>
#include <iterator>

#include "host/common/host_presence.h"
#include "host/common/security.h"
#include "module/frame/error_codes.h"
#include "module/frame/windows.h"

namespace host::console {
namespace {

constexpr DWORD kQuitLimit = 20000;  // Milliseconds.

// FNV-1a: a path is too long for a name, and has characters that may not be in one.
std::wstring PathText(std::wstring path) {
  CharLowerBuffW(path.data(), static_cast<DWORD>(path.size()));
  uint64_t hash = 14695981039346656037u;
  for (const wchar_t c : path)
    hash = (hash ^ c) * 1099511628211u;
  wchar_t text[17];
  std::swprintf(text, std::size(text), L"%016llx", static_cast<unsigned long long>(hash));
  return text;
}

std::wstring Instance() {
  wchar_t value[128];
  const DWORD length = GetEnvironmentVariableW(kInstanceVariable, value, std::size(value));
  return std::wstring(value, length < std::size(value) ? length : 0);
}

bool Take(HANDLE mutex, DWORD limit) {
  const DWORD result = WaitForSingleObject(mutex, limit);
  return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

}  // namespace

uint32_t SingleInstance::Open(const std::wstring& configuration) {
  const std::wstring prefix = L"Local\\Tsr.Console/" + Instance() + L'/' + UserSid() + L'/' +
                              PathText(configuration) + L'/';
  const auto event = [&](const wchar_t* kind) {
    return orn::UniqueHandle(CreateEventW(/*security=*/nullptr, /*manualReset=*/FALSE,
                                          /*signalled=*/FALSE, (prefix + kind).c_str()));
  };
  claim_.reset(CreateMutexW(/*security=*/nullptr, /*owned=*/FALSE, (prefix + L"Claim").c_str()));
  if (claim_) show_ = event(L"Show");
  if (show_) quit_ = event(L"Quit");
  return quit_ ? 0 : GetLastError();
}

bool SingleInstance::Claim() {
  if (!Take(claim_.get(), /*limit=*/0)) return false;
  // What was meant for one that is no more.
  ResetEvent(show_.get());
  ResetEvent(quit_.get());
  return true;
}

void SingleInstance::Show() {
  AllowSetForegroundWindow(ASFW_ANY);
  SetEvent(show_.get());
}

bool SingleInstance::Quit(uint32_t& status) {
  status = 0;
  const bool was_there = !Take(claim_.get(), /*limit=*/0);
  if (was_there) {
    SetEvent(quit_.get());
    if (!Take(claim_.get(), kQuitLimit)) status = error::kTimeout;
  }
  if (status == 0) ReleaseMutex(claim_.get());
  return was_there;
}

}  // namespace host::console
