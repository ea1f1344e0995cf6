#include "module/jobs/path_access.h"

#include <cstddef>
#include <string>
#include <vector>

#include "module/frame/handle.h"
#include "module/frame/log.h"
#include "module/frame/long_path.h"
#include "module/frame/windows.h"

namespace orn::RemoteAccess {
namespace {

constexpr SECURITY_INFORMATION kParts =
    OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
constexpr DWORD kTokenAccess =
    STANDARD_RIGHTS_READ | TOKEN_QUERY | TOKEN_IMPERSONATE | TOKEN_DUPLICATE;

// Empty on failure.
std::vector<std::byte> GetDescriptor(const PathStringT<260>& path) {
  const std::wstring name = LongPath(std::wstring(path.view()));
  DWORD size = 0;
  if (GetFileSecurityW(name.c_str(), kParts, /*descriptor=*/nullptr, 0, &size) ||
      GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    return {};
  }
  std::vector<std::byte> descriptor(size);
  if (!GetFileSecurityW(name.c_str(), kParts, descriptor.data(), size, &size)) return {};
  return descriptor;
}

}  // namespace

bool CheckPathAccess(const PathStringT<260>& path, uint32_t access) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::CheckPathAccess");
  std::vector<std::byte> descriptor = GetDescriptor(path);
  if (descriptor.empty()) return false;

  UniqueHandle token, impersonation;
  if (!OpenProcessToken(GetCurrentProcess(), kTokenAccess, token.put()) ||
      !DuplicateToken(token.get(), SecurityImpersonation, impersonation.put())) {
    return false;
  }
  GENERIC_MAPPING mapping{.GenericRead = kReadAccess,
                          .GenericWrite = kWriteAccess,
                          .GenericExecute = 0,
                          .GenericAll = kReadAccess | kWriteAccess};
  DWORD wanted = access;
  MapGenericMask(&wanted, &mapping);
  PRIVILEGE_SET privileges;
  DWORD privileges_size = sizeof(privileges);
  DWORD granted = 0;
  BOOL is_allowed = FALSE;
  return AccessCheck(descriptor.data(), impersonation.get(), wanted, &mapping, &privileges,
                     &privileges_size, &granted, &is_allowed) &&
         is_allowed;
}

}  // namespace orn::RemoteAccess
