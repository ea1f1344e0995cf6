#include "host/service/data_folder.h"

#include "host/common/protected_folder.h"
#include "host/common/security.h"

namespace host {
namespace {

std::wstring FolderAccess(const Configuration& configuration) {
  const bool administrator = IsAdministrator();
  std::wstring access = administrator ? L"O:BA" : L"";
  access += L"D:P(A;OICI;FA;;;BA)";
  if (configuration.low_rights || !administrator) access += L"(A;OICI;FA;;;" + UserSid() + L")";
  return access;
}

}  // namespace

uint32_t PrepareDataFolder(const Configuration& configuration) {
  return PrepareProtectedFolder(configuration.data, FolderAccess(configuration));
}

}  // namespace host
