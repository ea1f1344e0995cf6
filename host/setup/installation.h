#pragma once

#include <string>

namespace host::setup {

// Where an installation keeps what, by fixed names.
inline constexpr const wchar_t* kServiceName = L"TsrSecurityService";
inline constexpr const wchar_t* kServiceProgram = L"TsrSecurityService.exe";
inline constexpr const wchar_t* kConsoleProgram = L"TsrConsole.exe";
inline constexpr const wchar_t* kSettingsKey = L"SOFTWARE\\Tessaro";
inline constexpr const wchar_t* kFeatureKey = L"SOFTWARE\\Tessaro\\RemoteAccess";
inline constexpr const wchar_t* kUninstallKey =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessaro";
inline constexpr const wchar_t* kRunKey = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
inline constexpr const wchar_t* kRunValue = L"TessaroConsole";
inline constexpr const wchar_t* kDataLocation = L"DataLocation";  // Of the uninstall key.

// What is installed on this machine.
struct Installation {
  bool present = false;
  std::wstring programs;
  std::wstring data;
  std::wstring version;
};

// Where nothing is installed: not present, and the usual folders.
Installation FindInstallation();

// The .lnk file in every user's start menu.
std::wstring ShortcutPath();

// Whether version `left` is newer than `right`: texts like "1.10.2".
bool IsNewer(const std::wstring& left, const std::wstring& right);

}  // namespace host::setup
