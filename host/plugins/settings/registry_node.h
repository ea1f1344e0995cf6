#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "module/frame/windows.h"
#include "module/platform/tsr_settings.h"

namespace host {

// Where the settings of one key are: "Feature/enabled" is the value "enabled" of the folder
// "Feature", and its named values are those of the folder "Feature\enabled".
struct SettingPath {
  HKEY hive = nullptr;
  std::wstring folder;  // of the node's own value
  std::wstring own_value;
  std::wstring subfolder;  // of its named values
};

// False where `key` names nothing: it is null, empty, or has an empty part.
bool FindSetting(HKEY hive, const std::wstring& root, const wchar_t* key, SettingPath& path);

// One opened key. One thread at a time.
class RegistryNode final : public ITsrSettings::INode {
 public:
  enum class Access { kRead, kWrite };

  RegistryNode(SettingPath path, Access access) : path_(std::move(path)), access_(access) {}
  RegistryNode(const RegistryNode&) = delete;
  RegistryNode& operator=(const RegistryNode&) = delete;
  virtual ~RegistryNode() = default;

  uint32_t GetFailure() override { return failure_; }
  ITsrSettings::IValue* GetValue(const wchar_t* name) override;
  void Release() override { delete this; }

  // Reads the node's own value, so that GetFailure can tell whether the store is readable at all.
  void Probe();
  // Writes what was set. Returns a Windows error.
  uint32_t Write(bool flush);

 private:
  class Value;

  // The folder and the name in it of the value that `name` means.
  const std::wstring& FolderOf(const std::wstring& name) const;
  const std::wstring& NameInFolder(const std::wstring& name) const;
  // The error of reading, with ERROR_FILE_NOT_FOUND where there is no such value.
  LSTATUS Read(const std::wstring& name, DWORD& type, DWORD& data) const;

  const SettingPath path_;
  const Access access_;
  uint32_t failure_ = 0;
  std::map<std::wstring, bool> set_;
};

}  // namespace host
