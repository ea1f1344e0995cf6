#include "host/plugins/settings/registry_node.h"

#include <utility>

namespace host {

namespace {

// An opened registry key.
class Key {
 public:
  Key() = default;
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  ~Key() {
    if (key_ != nullptr) RegCloseKey(key_);
  }

  HKEY get() const { return key_; }
  HKEY* put() { return &key_; }

 private:
  HKEY key_ = nullptr;
};

}  // namespace

bool FindSetting(HKEY hive, const std::wstring& root, const wchar_t* key, SettingPath& path) {
  std::wstring inside = key == nullptr ? L"" : key;
  if (inside.empty() || inside.front() == L'/' || inside.back() == L'/' ||
      inside.find(L"//") != std::wstring::npos || inside.find(L'\\') != std::wstring::npos) {
    return false;
  }
  for (wchar_t& c : inside) {
    if (c == L'/') c = L'\\';
  }
  path.hive = hive;
  path.subfolder = root + L'\\' + inside;
  const size_t last = path.subfolder.rfind(L'\\');
  path.folder = path.subfolder.substr(0, last);
  path.own_value = path.subfolder.substr(last + 1);
  return true;
}

class RegistryNode::Value final : public ITsrSettings::IValue {
 public:
  Value(RegistryNode& node, std::wstring name) : node_(node), name_(std::move(name)) {}
  virtual ~Value() = default;

  bool GetBool(bool* value) override {
    if (const auto set = node_.set_.find(name_); set != node_.set_.end()) {
      *value = set->second;
      return true;
    }
    DWORD type = 0;
    DWORD data = 0;
    if (node_.Read(name_, type, data) != ERROR_SUCCESS || type != REG_DWORD) return false;
    *value = data != 0;
    return true;
  }

  void SetBool(bool value) override { node_.set_[name_] = value; }
  void Release() override { delete this; }

 private:
  RegistryNode& node_;
  const std::wstring name_;
};

ITsrSettings::IValue* RegistryNode::GetValue(const wchar_t* name) {
  std::wstring text = name == nullptr ? L"" : name;
  if (access_ == Access::kRead) {
    DWORD type = 0;
    DWORD data = 0;
    const LSTATUS error = Read(text, type, data);
    if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA) return nullptr;
  }
  return new Value(*this, std::move(text));
}

void RegistryNode::Probe() {
  DWORD type = 0;
  DWORD data = 0;
  const LSTATUS error = Read(/*name=*/{}, type, data);
  // A store without that value is a store that was read.
  if (error != ERROR_MORE_DATA && error != ERROR_FILE_NOT_FOUND) {
    failure_ = static_cast<uint32_t>(error);
  }
}

uint32_t RegistryNode::Write(bool flush) {
  for (const auto& [name, value] : set_) {
    Key key;
    LSTATUS error = RegCreateKeyExW(path_.hive, FolderOf(name).c_str(), /*Reserved=*/0,
                                    /*lpClass=*/nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE,
                                    /*lpSecurityAttributes=*/nullptr, key.put(),
                                    /*lpdwDisposition=*/nullptr);
    if (error != ERROR_SUCCESS) return static_cast<uint32_t>(error);
    const DWORD data = value ? 1 : 0;
    error = RegSetValueExW(key.get(), NameInFolder(name).c_str(), /*Reserved=*/0, REG_DWORD,
                           reinterpret_cast<const BYTE*>(&data), sizeof(data));
    if (error == ERROR_SUCCESS && flush) error = RegFlushKey(key.get());
    if (error != ERROR_SUCCESS) return static_cast<uint32_t>(error);
  }
  return 0;
}

const std::wstring& RegistryNode::FolderOf(const std::wstring& name) const {
  return name.empty() ? path_.folder : path_.subfolder;
}

const std::wstring& RegistryNode::NameInFolder(const std::wstring& name) const {
  return name.empty() ? path_.own_value : name;
}

LSTATUS RegistryNode::Read(const std::wstring& name, DWORD& type, DWORD& data) const {
  Key key;
  const LSTATUS error = RegOpenKeyExW(path_.hive, FolderOf(name).c_str(), /*ulOptions=*/0,
                                      KEY_QUERY_VALUE, key.put());
  if (error != ERROR_SUCCESS) return error;
  DWORD size = sizeof(data);
  return RegQueryValueExW(key.get(), NameInFolder(name).c_str(), /*lpReserved=*/nullptr, &type,
                          reinterpret_cast<BYTE*>(&data), &size);
}

}  // namespace host
