#include "module/jobs/product_folder.h"

#include <algorithm>
#include <clocale>
#include <cstddef>
#include <cwchar>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "module/frame/log.h"
#include "module/frame/scope_guard.h"
#include "module/frame/windows.h"

namespace orn::RemoteAccess {
namespace {

constexpr wchar_t kInstallationKey[] =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessaro";
constexpr wchar_t kServiceName[] = L"TsrSecurityService";

struct ServiceHandleCloser {
  using pointer = SC_HANDLE;
  void operator()(SC_HANDLE handle) const noexcept { CloseServiceHandle(handle); }
};
using ServiceHandle = std::unique_ptr<SC_HANDLE, ServiceHandleCloser>;

// What the installation has left in the registry. False where there is no such text.
bool ReadInstallLocation(std::wstring& folder) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kInstallationKey, /*options=*/0, KEY_QUERY_VALUE, &key) !=
      ERROR_SUCCESS) {
    return false;
  }
  const ScopeGuard close([&] { RegCloseKey(key); });
  DWORD type = 0, size = 0;
  const auto query = [&](void* data) {
    return RegQueryValueExW(key, L"InstallLocation", /*reserved=*/nullptr, &type,
                            static_cast<BYTE*>(data), &size) == ERROR_SUCCESS;
  };
  if (!query(nullptr) || (type != REG_SZ && type != REG_EXPAND_SZ)) return false;
  // A text in the registry need not end in a zero.
  folder.assign(size / sizeof(wchar_t) + 1, L'\0');
  if (!query(folder.data())) return false;
  folder.resize(std::wcslen(folder.c_str()));
  return true;
}

// Where the service's program is. Empty on failure.
std::wstring GetServiceFolder() {
  const ServiceHandle manager(
      OpenSCManagerW(/*machine=*/nullptr, /*database=*/nullptr, SC_MANAGER_ALL_ACCESS));
  if (!manager) return {};
  const ServiceHandle service(OpenServiceW(manager.get(), kServiceName, SERVICE_QUERY_CONFIG));
  if (!service) return {};
  DWORD size = 0;
  QueryServiceConfigW(service.get(), /*config=*/nullptr, 0, &size);
  if (size == 0) return {};
  std::vector<std::byte> buffer(std::max<size_t>(size, sizeof(QUERY_SERVICE_CONFIGW)));
  auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
  if (!QueryServiceConfigW(service.get(), config, size, &size)) return {};
  std::wstring_view program = config->lpBinaryPathName;
  if (program.starts_with(L'"')) program.remove_prefix(1);
  if (program.ends_with(L'"')) program.remove_suffix(1);
  return std::wstring(program.substr(0, program.rfind(L'\\') + 1));
}

std::wstring GetProductFolder() {
  std::wstring folder;
  return ReadInstallLocation(folder) ? folder : GetServiceFolder();
}

// The system's own rules for lower case, without a change to the process's or the thread's locale.
void ToLower(std::wstring& text) {
  static const _locale_t system_locale = _create_locale(LC_CTYPE, "");
  _wcslwr_l(text.data(), system_locale);
}

std::wstring ComparableForm(std::wstring text) {
  static constexpr wchar_t kBlanks[] = L" \t\n";
  ToLower(text);
  std::replace(text.begin(), text.end(), L'/', L'\\');
  text.erase(text.find_last_not_of(kBlanks) + 1);
  text.erase(0, text.find_first_not_of(kBlanks));
  const bool is_network_path = text.starts_with(L"\\\\");
  const auto both_separate = [](wchar_t a, wchar_t b) { return a == L'\\' && b == L'\\'; };
  text.erase(std::unique(text.begin(), text.end(), both_separate), text.end());
  if (is_network_path && !text.starts_with(L"\\??\\")) text.insert(0, 1, L'\\');
  if (text.ends_with(L':')) text += L'\\';
  return text;
}

}  // namespace

bool IsInsideProductFolder(const PathStringT<260>& path) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::RemoteAccessAL::IsInsideProductFolder");
  const std::wstring folder = ComparableForm(GetProductFolder());
  return !folder.empty() && ComparableForm(std::wstring(path.view())).starts_with(folder);
}

}  // namespace orn::RemoteAccess
