#include "host/common/protected_folder.h"

#include <aclapi.h>
#include <sddl.h>

#include <memory>

#include "host/common/file_path.h"
#include "host/common/security.h"
#include "module/frame/path.h"

namespace host {
namespace {

struct FreeLocal {
  void operator()(void* memory) const { LocalFree(memory); }
};

bool IsTrustedOwner(PSID owner) {
  wchar_t* text = nullptr;
  if (owner == nullptr || !ConvertSidToStringSidW(owner, &text)) return false;
  const std::unique_ptr<wchar_t, FreeLocal> sid(text);
  return IsWellKnownSid(owner, WinBuiltinAdministratorsSid) ||
         IsWellKnownSid(owner, WinLocalSystemSid) || UserSid() == text;
}

// What a folder needs that is there already.
uint32_t TightenFolder(std::wstring path, const SecurityDescriptor& wanted) {
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR found = nullptr;
  if (const DWORD status = GetNamedSecurityInfoW(
          path.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
          &owner, /*group=*/nullptr, /*dacl=*/nullptr, /*sacl=*/nullptr, &found);
      status != 0) {
    return status;
  }
  const std::unique_ptr<void, FreeLocal> descriptor(found);
  if (!IsTrustedOwner(owner)) return ERROR_INVALID_OWNER;
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  if (GetSecurityDescriptorControl(found, &control, &revision) &&
      (control & SE_DACL_PROTECTED) != 0) {
    return 0;
  }
  PSID new_owner = nullptr;
  BOOL defaulted = FALSE;
  GetSecurityDescriptorOwner(wanted.get(), &new_owner, &defaulted);
  SECURITY_INFORMATION parts = DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION;
  if (new_owner != nullptr) parts |= OWNER_SECURITY_INFORMATION;
  // The first call goes through all that is in the folder, too; under Wine it lets in whom the
  // folder above lets in, hence the second.
  if (const DWORD status =
          SetNamedSecurityInfoW(path.data(), SE_FILE_OBJECT, parts, new_owner, /*group=*/nullptr,
                                wanted.access_list(), /*sacl=*/nullptr);
      status != 0) {
    return status;
  }
  return SetFileSecurityW(path.c_str(), parts, wanted.get()) ? 0 : GetLastError();
}

}  // namespace

uint32_t PrepareProtectedFolder(const std::wstring& path, const std::wstring& access) {
  SecurityDescriptor wanted(access);
  if (wanted.get() == nullptr) return ERROR_INVALID_SECURITY_DESCR;
  orn::PathStringT<260> parent;
  parent += FolderOf(path);
  if (!orn::CreateFolderRecursively(parent)) return GetLastError();
  if (CreateDirectoryW(path.c_str(), wanted.attributes())) return 0;
  if (GetLastError() != ERROR_ALREADY_EXISTS) return GetLastError();
  if ((GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_DIRECTORY) == 0) return ERROR_DIRECTORY;
  return TightenFolder(path, wanted);
}

}  // namespace host
