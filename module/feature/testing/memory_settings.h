#pragma once

#include <optional>

#include "module/feature/testing/call_list.h"
#include "module/platform/tsr_settings.h"

namespace orn::RemoteAccess {

// A store of one value that can be told to fail. It counts what is out and not given back.
struct MemorySettings final : ITsrSettings, ITsrSettings::INode, ITsrSettings::IValue {
  using INode = ITsrSettings::INode;
  using IValue = ITsrSettings::IValue;
  enum class Fault { kNone, kNoNode, kBrokenNode, kNoValue };

  explicit MemorySettings(CallList& list) : calls(list) {}

  CallList& calls;
  std::optional<bool> stored, pending;
  Fault fault = Fault::kNone;
  int held = 0;

  INode* Open(const char* call) {
    calls.Add(call);
    return fault == Fault::kNoNode ? nullptr : (++held, this);
  }
  INode* OpenForRead(const wchar_t*, uint32_t) override { return Open("settings read"); }
  INode* OpenForWrite(const wchar_t*) override { return Open("settings write"); }
  uint32_t GetFailure() override { return fault == Fault::kBrokenNode ? 5 : 0; }
  IValue* GetValue(const wchar_t*) override {
    return fault == Fault::kNoValue ? nullptr : (++held, this);
  }
  bool GetBool(bool* value) override { return stored && ((*value = *stored), true); }
  void SetBool(bool value) override { pending = value; }
  uint32_t Store(INode*, const wchar_t* key, uint32_t, uint32_t flush) override {
    if (flush == 1 && key == std::wstring_view(L"RemoteAccess/enabled")) stored = pending;
    return 0;
  }
  void Release() override { --held; }  // of node and value
};

}  // namespace orn::RemoteAccess
