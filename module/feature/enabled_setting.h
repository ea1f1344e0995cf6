#pragma once

#include "module/frame/spin_flag.h"
#include "module/frame/string.h"
#include "module/platform/tsr_settings.h"

namespace orn::RemoteAccess {

// One boolean of the settings store, cached: the store is read once, at the first use, and whatever
// came of that stays until the next write. Read and Write may be called from any thread; the store
// is called with the setting locked.
class EnabledSetting {
 public:
  EnabledSetting() = default;
  EnabledSetting(const EnabledSetting&) = delete;
  EnabledSetting& operator=(const EnabledSetting&) = delete;

  // Says where the value is kept and what it is where the store has none. `serializer` is not
  // owned. To be called before Read and Write, which work on the default value alone otherwise.
  void Prepare(ITsrSettings* serializer, const wchar_t* key, bool default_value);

  // Stores the value in `value`. False where the store was asked by this call and failed.
  bool Read(bool& value);
  bool IsOn() {
    bool value = false;
    Read(value);
    return value;
  }

  // Caches `value` and persists it as far as the store lets it.
  void Write(bool value);

 private:
  bool Load(bool& value) const;
  void Store(bool value) const;

  ITsrSettings* serializer_ = nullptr;  // Not owned.
  bool loaded_ = false;
  SpinFlag spin_flag_;
  bool value_ = false;
  bool default_value_ = false;
  StringT<wchar_t> key_;
  [[maybe_unused]] void* reserved_ = nullptr;
};

}  // namespace orn::RemoteAccess
