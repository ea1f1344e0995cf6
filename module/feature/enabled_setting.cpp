#include "module/feature/enabled_setting.h"

#include <memory>
#include <mutex>

namespace orn::RemoteAccess {

namespace {

struct Releaser {
  template <class T>
  void operator()(T* object) const {
    object->Release();
  }
};

using Node = std::unique_ptr<ITsrSettings::INode, Releaser>;
using Value = std::unique_ptr<ITsrSettings::IValue, Releaser>;

constexpr wchar_t kOwnValue[] = L"";

}  // namespace

void EnabledSetting::Prepare(ITsrSettings* serializer, const wchar_t* key, bool default_value) {
  serializer_ = serializer;
  key_ = key;
  default_value_ = default_value;
}

bool EnabledSetting::Read(bool& value) {
  const std::lock_guard lock(spin_flag_);
  bool consulted = true;
  if (!loaded_) {
    loaded_ = true;
    consulted = Load(value_);
    if (!consulted) value_ = default_value_;
  }
  value = value_;
  return consulted;
}

void EnabledSetting::Write(bool value) {
  const std::lock_guard lock(spin_flag_);
  value_ = value;
  Store(value);
  loaded_ = true;
}

bool EnabledSetting::Load(bool& value) const {
  if (serializer_ == nullptr) return false;
  const Node node(serializer_->OpenForRead(key_.c_str(), /*options=*/0));
  if (node == nullptr || node->GetFailure() != 0) return false;
  const Value own(node->GetValue(kOwnValue));
  return own != nullptr && own->GetBool(&value);
}

void EnabledSetting::Store(bool value) const {
  if (serializer_ == nullptr) return;
  const Node node(serializer_->OpenForWrite(key_.c_str()));
  if (node == nullptr) return;
  if (const Value own(node->GetValue(kOwnValue)); own != nullptr) own->SetBool(value);
  serializer_->Store(node.get(), key_.c_str(), /*options=*/0, /*flush=*/1);
}

}  // namespace orn::RemoteAccess
