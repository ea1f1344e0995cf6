#include "host/messaging/pipe_access.h"

#include <aclapi.h>
#include <ntsecapi.h>
#include <sddl.h>

#include <mutex>

#include "host/common/host_presence.h"
#include "host/common/running_process.h"
#include "host/common/security.h"
#include "module/frame/scope_guard.h"

namespace host::channels {

namespace {

constexpr DWORD kBufferSize = 64 * 1024;
constexpr DWORD kBusyLimit = 1000;  // Milliseconds for one free end.
constexpr int kBusyTries = 3;
// Reading and writing, but not FILE_CREATE_PIPE_INSTANCE, with which a guest could pose as the
// host. It is part of GENERIC_WRITE.
constexpr DWORD kGuestRights =
    FILE_GENERIC_READ | FILE_WRITE_DATA | FILE_WRITE_ATTRIBUTES | FILE_WRITE_EA;

std::mutex account_mutex;
std::wstring admitted_account;  // Guarded by account_mutex.

std::wstring Prefix() {
  wchar_t instance[128];
  const DWORD length = GetEnvironmentVariableW(kInstanceVariable, instance, 128);
  return L"\\\\.\\pipe\\Tsr.Messaging/" + std::wstring(instance, length < 128 ? length : 0) + L'/';
}

// Who gets through; from the network nobody does, see CreatePipeEnd. An administrator's pipe
// belongs to the administrators and is fully theirs alone: a low process of the same user is a
// guest.
std::wstring DescriptorText(Door door) {
  wchar_t guest[16];
  swprintf_s(guest, 16, L"0x%lx", kGuestRights);
  const auto allow = [](const std::wstring& rights, const std::wstring& sid) {
    return sid.empty() ? L"" : L"(A;;" + rights + L";;;" + sid + L')';
  };
  const bool administrator = IsAdministrator();
  const std::wstring user = UserSid();
  const std::lock_guard lock(account_mutex);
  return L"O:" + (administrator ? L"BA" : user) + L"D:P" + allow(L"GA", L"BA") +
         allow(guest, L"SY") + allow(administrator ? guest : L"GA", user) +
         allow(guest, admitted_account) + allow(guest, door == Door::kUsers ? L"IU" : L"");
}

uint64_t Number(const FILETIME& time) {
  return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

void Random(void* bytes, ULONG count) {
  // Advapi32's door to the system's generator; it does not fail.
  RtlGenRandom(bytes, count);
}

}  // namespace

std::wstring HubPipeName(Door door) {
  return Prefix() + (door == Door::kUsers ? L"Users" : L"Hub");
}

std::wstring NodePipeName(uint32_t pid, const std::string& suffix) {
  return Prefix() + std::to_wstring(pid) + L'/' + std::wstring(suffix.begin(), suffix.end());
}

std::string RandomSuffix() {
  unsigned char bytes[16];
  Random(bytes, sizeof(bytes));
  std::string suffix;
  for (const unsigned char byte : bytes) {
    suffix += "0123456789abcdef"[byte >> 4];
    suffix += "0123456789abcdef"[byte & 15];
  }
  return suffix;
}

uint64_t RandomNumber() {
  uint64_t number = 0;
  Random(&number, sizeof(number));
  return number;
}

bool AdmitAccount(const std::wstring& sid) {
  PSID parsed = nullptr;
  if (!sid.empty()) {
    if (!ConvertStringSidToSidW(sid.c_str(), &parsed)) return false;
    LocalFree(parsed);
  }
  const std::lock_guard lock(account_mutex);
  admitted_account = sid;
  return true;
}

orn::UniqueFile CreatePipeEnd(const std::wstring& name, Door door, bool first) {
  SecurityDescriptor security(DescriptorText(door));
  if (security.attributes() == nullptr) {
    SetLastError(ERROR_INVALID_SECURITY_DESCR);
    return {};
  }
  const DWORD first_flag = first ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0;
  return orn::UniqueFile(CreateNamedPipeW(
      name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | first_flag,
      PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
      PIPE_UNLIMITED_INSTANCES, kBufferSize, kBufferSize, /*timeout=*/0, security.attributes()));
}

orn::UniqueFile OpenPipe(const std::wstring& name, bool patient) {
  for (int i = 0;; ++i) {
    orn::UniqueFile pipe(CreateFileW(
        name.c_str(), kGuestRights, /*share=*/0, /*security=*/nullptr, OPEN_EXISTING,
        FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr));
    if (pipe || GetLastError() != ERROR_PIPE_BUSY || !patient || i == kBusyTries) return pipe;
    WaitNamedPipeW(name.c_str(), kBusyLimit);
  }
}

uint32_t ClientOf(HANDLE pipe) {
  ULONG pid = 0;
  return GetNamedPipeClientProcessId(pipe, &pid) ? pid : 0;
}

uint32_t ServerOf(HANDLE pipe) {
  ULONG pid = 0;
  return GetNamedPipeServerProcessId(pipe, &pid) ? pid : 0;
}

std::optional<uint64_t> LogonOfClient(HANDLE pipe) {
  if (!ImpersonateNamedPipeClient(pipe)) return std::nullopt;
  orn::UniqueHandle token;
  const bool known =
      OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, /*asSelf=*/TRUE, token.put()) != FALSE;
  // A thread that stayed somebody else would be worse than none.
  if (!RevertToSelf()) TerminateProcess(GetCurrentProcess(), 1);
  return known ? LogonOfToken(token.get()) : std::nullopt;
}

uint64_t SystemTime() {
  FILETIME now;
  GetSystemTimePreciseAsFileTime(&now);
  return Number(now);
}

bool IsAdministratorProcess(uint32_t pid, uint64_t connected) {
  const RunningProcess process(pid);
  return process && process.created() <= connected && process.IsAdministrator();
}

bool IsTrustworthyOwner(HANDLE pipe) {
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetSecurityInfo(pipe, SE_KERNEL_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr,
                      nullptr, &descriptor) != ERROR_SUCCESS) {
    return false;
  }
  const orn::ScopeGuard free([&] { LocalFree(descriptor); });
  wchar_t* text = nullptr;
  if (owner == nullptr || !ConvertSidToStringSidW(owner, &text)) return false;
  const std::wstring sid(text);
  LocalFree(text);
  return IsWellKnownSid(owner, WinBuiltinAdministratorsSid) ||
         (!IsAdministrator() && sid == UserSid());
}

}  // namespace host::channels
