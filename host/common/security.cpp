#include "host/common/security.h"

#include <sddl.h>

#include <array>
#include <cstddef>

#include "module/frame/handle.h"

namespace host {

std::wstring UserSid() {
  orn::UniqueHandle token;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put())) return {};
  return UserOfToken(token.get());
}

std::wstring UserOfToken(HANDLE token) {
  alignas(TOKEN_USER) std::array<std::byte, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user;
  DWORD length = 0;
  wchar_t* text = nullptr;
  if (!GetTokenInformation(token, TokenUser, user.data(), user.size(), &length) ||
      !ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid, &text)) {
    return {};
  }
  std::wstring sid(text);
  LocalFree(text);
  return sid;
}

std::optional<uint64_t> LogonOfToken(HANDLE token) {
  TOKEN_STATISTICS facts{};
  DWORD length = 0;
  if (!GetTokenInformation(token, TokenStatistics, &facts, sizeof(facts), &length)) {
    return std::nullopt;
  }
  return uint64_t{static_cast<ULONG>(facts.AuthenticationId.HighPart)} << 32 |
         facts.AuthenticationId.LowPart;
}

bool IsAdministrator() {
  orn::UniqueHandle token;
  return OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE, token.put()) &&
         IsAdministratorToken(token.get());
}

bool IsAdministratorToken(HANDLE token) {
  std::array<std::byte, SECURITY_MAX_SID_SIZE> administrators;
  DWORD length = administrators.size();
  // Membership is asked of a token that a thread could bear.
  orn::UniqueHandle bearable;
  BOOL member = FALSE;
  return CreateWellKnownSid(WinBuiltinAdministratorsSid, /*domain=*/nullptr, administrators.data(),
                            &length) &&
         DuplicateToken(token, SecurityIdentification, bearable.put()) &&
         CheckTokenMembership(bearable.get(), administrators.data(), &member) && member;
}

SecurityDescriptor::SecurityDescriptor(const std::wstring& text) {
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1,
                                                            &attributes_.lpSecurityDescriptor,
                                                            /*size=*/nullptr)) {
    attributes_.lpSecurityDescriptor = nullptr;
  }
}

PACL SecurityDescriptor::access_list() const {
  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  PACL list = nullptr;
  if (get() == nullptr || !GetSecurityDescriptorDacl(get(), &present, &list, &defaulted)) {
    return nullptr;
  }
  return present ? list : nullptr;
}

std::wstring AgentObjectAccess() {
  const std::wstring user = UserSid();
  return L"D:(A;;GA;;;SY)(A;;GA;;;BA)" + (user.empty() ? L"" : L"(A;;GA;;;" + user + L")");
}

}  // namespace host
