#include "module/jobs/temp_folder.h"

#include "module/frame/delete_path.h"
#include "module/frame/guid.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/frame/windows.h"

#include <shlwapi.h>

namespace orn {
namespace {

bool CreateFolder(const PathStringT<260>& path) {
  return CreateDirectoryW(path.c_str(), /*security=*/nullptr) ||
         GetLastError() == ERROR_ALREADY_EXISTS;
}

}  // namespace

PathStringT<260> TempRootFolder(const wchar_t* root) {
  PathStringT<260> path;
  if (GetTempFolder(path)) AppendPath(path, root);
  return path;
}

PathStringT<260> GenerateTempFolder(const wchar_t* function, const wchar_t* root) {
  PathStringT<260> path = TempRootFolder(root);
  if (path.empty() || (!PathFileExistsW(path.c_str()) && !CreateFolder(path))) {
    ORN_LOG(logging::kError, function, L"Could not create temp folder: [%d].", GetLastError());
    return {};
  }
  AppendPath(path, GenerateGuid().view());
  if (!CreateFolder(path)) {
    ORN_LOG(logging::kError, function, L"Could not create temp subfolder: [%d].", GetLastError());
    return {};
  }
  return path;
}

void CleanupTempRootFolder(const wchar_t* function, const wchar_t* root) {
  PathStringT<260> path = TempRootFolder(root);
  if (path.empty() || !PathFileExistsW(path.c_str()) || DeleteFolderRecursively(path)) return;
  bool reboot_needed = false;
  if (!detail::DeletePath(path.c_str(), reboot_needed, /*skip=*/{}, /*pattern=*/{})) {
    ORN_LOG(logging::kWarning, function, L"Could not delete [%s]", path.c_str());
  }
}

}  // namespace orn
