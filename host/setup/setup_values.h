#pragma once

#include <string>

namespace host::setup {

inline constexpr const wchar_t* kKeyName = L"enrolment-key";

// What an installation was told, and what it made up once: kept in a file of the configuration's
// folder, so that an upgrade, or an installation that finds the data of an earlier one, needs no
// more.
struct SetupValues {
  std::wstring server;  // https://HOST[:PORT]
  std::wstring machine_id;
  std::wstring machine_name;
  std::wstring data;  // The folder of configuration, data and worker.

  bool operator==(const SetupValues&) const = default;

  std::wstring config() const { return data + L"\\config"; }
  std::wstring key_file() const { return config() + L'\\' + kKeyName; }
};

// Reads them from the file. Empty fields where there is none or it is no such file.
SetupValues ReadSetupValues(const std::wstring& file);
// The file's content.
std::string SetupValuesText(const SetupValues& values);

// The configuration that a template becomes with these values. Empty where it holds an @NAME@ that
// means nothing here.
std::string FillTemplate(std::string text, const SetupValues& values);

}  // namespace host::setup
