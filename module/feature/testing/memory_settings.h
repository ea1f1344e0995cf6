#pragma once

#include <optional>

#include "module/feature/testing/call_list.h"
#include "module/platform/tsr_settings.h"

namespace orn::RemoteAccess {

// A store of one value that can be told to fail. It counts what is out and not given back.
class MemorySettings final : public ITsrSettings, ITsrSettings::INode, ITsrSettings::IValue {
 public:
  using INode = ITsrSettings::INode;
  using IValue = ITsrSettings::IValue;
  enum class Fault { kNone, kNoNode, kBrokenNode, kNoValue };

  explicit MemorySettings(CallList& calls) : calls_(calls) {}

  std::optional<bool> stored;
  Fault fault = Fault::kNone;
  int held = 0;

  INode* OpenForRead(const wchar_t*, uint32_t) override { return Open("settings read"); }
  INode* OpenForWrite(const wchar_t*) override { return Open("settings write"); }
  uint32_t Store(INode*, const wchar_t* key, uint32_t, uint32_t flush) override {
    if (flush == 1 && key == std::wstring_view(L"RemoteAccess/enabled")) stored = pending_;
    return 0;
  }

 private:
  INode* Open(const char* call) {
    calls_.Add(call);
    return fault == Fault::kNoNode ? nullptr : (++held, this);
  }
  uint32_t GetFailure() override { return fault == Fault::kBrokenNode ? 5 : 0; }
  IValue* GetValue(const wchar_t*) override {
    return fault == Fault::kNoValue ? nullptr : (++held, this);
  }
  bool GetBool(bool* value) override {
    if (stored) *value = *stored;
    return stored.has_value();
  }
  void SetBool(bool value) override { pending_ = value; }
  void Release() override { --held; }  // of node and value

  CallList& calls_;
  std::optional<bool> pending_;
};

}  // namespace orn::RemoteAccess
