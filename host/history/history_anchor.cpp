#include "host/history/history_anchor.h"

#include <array>
#include <charconv>
#include <memory>

#include "host/common/security.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

namespace host::history {
namespace {

constexpr wchar_t kKey[] = L"Software\\Tessaro\\History";
// As for the store's folder: not the system, whose account the worker has without its rights.
constexpr wchar_t kKeyAccess[] = L"O:BAD:P(A;CI;KA;;;BA)(A;CI;KR;;;BU)";

struct CloseKey {
  void operator()(HKEY key) const { RegCloseKey(key); }
};
using UniqueKey = std::unique_ptr<std::remove_pointer_t<HKEY>, CloseKey>;

std::wstring ValueName(const std::wstring& path) {
  std::wstring name(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  name.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(name.size()), name.data(),
                               /*lpFilePart=*/nullptr));
  CharLowerBuffW(name.data(), static_cast<DWORD>(name.size()));
  return name;
}

}  // namespace

bool ReadAnchor(const std::wstring& path, HistoryHead& head) {
  std::array<wchar_t, 100> value{};
  DWORD size = sizeof(value);
  if (RegGetValueW(HKEY_LOCAL_MACHINE, kKey, ValueName(path).c_str(), RRF_RT_REG_SZ,
                   /*pdwType=*/nullptr, value.data(), &size) != 0) {
    return false;
  }
  const orn::StringT<char> narrow = orn::ToUtf8(value.data());
  const std::string_view text = narrow.view();
  const auto [end, failure] =
      std::from_chars(text.data(), text.data() + text.size(), head.sequence);
  const auto digits = static_cast<size_t>(end - text.data());
  return failure == std::errc() && digits < text.size() && text[digits] == ' ' &&
         ParseHexText(text.substr(digits + 1), head.hash);
}

uint32_t WriteAnchor(const std::wstring& path, const HistoryHead& head) {
  HKEY opened = nullptr;
  SecurityDescriptor access(kKeyAccess);
  if (const LSTATUS status = RegCreateKeyExW(
          HKEY_LOCAL_MACHINE, kKey, /*Reserved=*/0, /*lpClass=*/nullptr, REG_OPTION_NON_VOLATILE,
          KEY_SET_VALUE | KEY_QUERY_VALUE | WRITE_DAC, access.attributes(), &opened,
          /*lpdwDisposition=*/nullptr);
      status != 0) {
    return static_cast<uint32_t>(status);
  }
  const UniqueKey key(opened);
  // A key that was restored from a backup is as open as those around it.
  RegSetKeySecurity(opened, DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                    access.get());
  const std::wstring text =
      std::to_wstring(head.sequence) + L' ' + orn::ToWide(HexText(head.hash)).c_str();
  LSTATUS status = RegSetValueExW(opened, ValueName(path).c_str(), /*Reserved=*/0, REG_SZ,
                                  reinterpret_cast<const BYTE*>(text.c_str()),
                                  static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  // Records come some times a day, so that this may cost something.
  if (status == 0) status = RegFlushKey(opened);
  return static_cast<uint32_t>(status);
}

void RemoveAnchor(const std::wstring& path) {
  RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kKey, ValueName(path).c_str());
}

}  // namespace host::history
