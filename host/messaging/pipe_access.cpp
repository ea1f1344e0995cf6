#include "host/messaging/pipe_access.h"

#include <aclapi.h>
#include <ntsecapi.h>
#include <sddl.h>

#include <memory>
#include <mutex>
#include <vector>

#include "host/common/host_presence.h"
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

std::vector<char> TokenData(HANDLE token, TOKEN_INFORMATION_CLASS what) {
  DWORD size = 0;
  GetTokenInformation(token, what, nullptr, 0, &size);
  std::vector<char> data(size);
  if (!GetTokenInformation(token, what, data.data(), size, &size)) data.clear();
  return data;
}

std::vector<char> OwnUser() {
  orn::UniqueHandle token;
  OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put());
  return TokenData(token.get(), TokenUser);
}

PSID SidOf(std::vector<char>& user) {
  return user.empty() ? nullptr : reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid;
}

std::wstring SidText(PSID sid) {
  wchar_t* text = nullptr;
  if (sid == nullptr || !ConvertSidToStringSidW(sid, &text)) return {};
  std::wstring result = text;
  LocalFree(text);
  return result;
}

std::wstring Prefix() {
  wchar_t instance[128];
  const DWORD length = GetEnvironmentVariableW(kInstanceVariable, instance, 128);
  return L"\\\\.\\pipe\\Tsr.Messaging/" + std::wstring(instance, length < 128 ? length : 0) + L'/';
}

// Who gets through: nobody from the network comes near it, see CreatePipeEnd.
std::wstring DescriptorText() {
  std::vector<char> user = OwnUser();
  const std::wstring own = SidText(SidOf(user));
  std::wstring text = L"O:" + own + L"D:P(A;;GA;;;SY)(A;;GA;;;BA)(A;;GA;;;" + own + L')';
  const std::lock_guard lock(account_mutex);
  if (!admitted_account.empty()) {
    wchar_t rights[16];
    swprintf_s(rights, 16, L"0x%lx", kGuestRights);
    text += L"(A;;" + std::wstring(rights) + L";;;" + admitted_account + L')';
  }
  return text;
}

bool IsWellKnown(PSID sid, WELL_KNOWN_SID_TYPE type) {
  return sid != nullptr && IsWellKnownSid(sid, type);
}

void Random(void* bytes, ULONG count) {
  // Advapi32's door to the system's generator; it does not fail.
  RtlGenRandom(bytes, count);
}

}  // namespace

std::wstring HubPipeName() {
  return Prefix() + L"Hub";
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

orn::UniqueFile CreatePipeEnd(const std::wstring& name, bool first) {
  SECURITY_ATTRIBUTES security{sizeof(SECURITY_ATTRIBUTES), nullptr, /*inherit=*/FALSE};
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(
          DescriptorText().c_str(), SDDL_REVISION_1, &security.lpSecurityDescriptor, nullptr)) {
    return {};
  }
  const orn::ScopeGuard free([&] { LocalFree(security.lpSecurityDescriptor); });
  const DWORD first_flag = first ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0;
  return orn::UniqueFile(CreateNamedPipeW(
      name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | first_flag,
      PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
      PIPE_UNLIMITED_INSTANCES, kBufferSize, kBufferSize, /*timeout=*/0, &security));
}

orn::UniqueFile OpenPipe(const std::wstring& name) {
  for (int i = 0;; ++i) {
    orn::UniqueFile pipe(CreateFileW(
        name.c_str(), kGuestRights, /*share=*/0, /*security=*/nullptr, OPEN_EXISTING,
        FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr));
    if (pipe || GetLastError() != ERROR_PIPE_BUSY || i == kBusyTries) return pipe;
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

bool IsAdministrator(HANDLE process) {
  orn::UniqueHandle token;
  orn::UniqueHandle copy;
  if (process == nullptr ||
      !OpenProcessToken(process, TOKEN_QUERY | TOKEN_DUPLICATE, token.put()) ||
      !DuplicateToken(token.get(), SecurityIdentification, copy.put())) {
    return false;
  }
  char sid[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof(sid);
  BOOL member = FALSE;
  return CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size) &&
         CheckTokenMembership(copy.get(), sid, &member) && member;
}

bool IsTrustworthyOwner(HANDLE pipe) {
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetSecurityInfo(pipe, SE_KERNEL_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr,
                      nullptr, &descriptor) != ERROR_SUCCESS) {
    return false;
  }
  const orn::ScopeGuard free([&] { LocalFree(descriptor); });
  std::vector<char> user = OwnUser();
  return IsWellKnown(owner, WinLocalSystemSid) || IsWellKnown(owner, WinBuiltinAdministratorsSid) ||
         (SidOf(user) != nullptr && owner != nullptr && EqualSid(owner, SidOf(user)));
}

}  // namespace host::channels
