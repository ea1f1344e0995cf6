#include "host/plugins/settings/tsr_settings.h"

#include <gtest/gtest.h>

#include "host/plugins/common/fake_host.h"

namespace host {
namespace {

class TsrSettingsTest : public testing::Test, public ISettingsWatch::IObserver {
 protected:
  TsrSettingsTest() {
    host_.SetOption(L"TsrSettings", L"root", (L"HKCU\\" + root_).c_str());
    EXPECT_EQ(settings_.Init(&host_), 0);
  }
  ~TsrSettingsTest() override { RegDeleteTreeW(HKEY_CURRENT_USER, root_.c_str()); }

  void OnStored(const wchar_t* key) override { stored_ += key; }

  // "no value", "true" or "false".
  std::string Read() {
    ITsrSettings::INode* const node = settings_.OpenForRead(kKey, 0);
    EXPECT_EQ(node->GetFailure(), 0u);
    std::string result = "no value";
    if (ITsrSettings::IValue* const value = node->GetValue(L""); value != nullptr) {
      bool on = false;
      EXPECT_TRUE(value->GetBool(&on));
      result = on ? "true" : "false";
      value->Release();
    }
    node->Release();
    return result;
  }
  void Write(bool on) {
    ITsrSettings::INode* const node = settings_.OpenForWrite(kKey);
    ITsrSettings::IValue* const value = node->GetValue(L"");
    value->SetBool(on);
    value->Release();
    EXPECT_EQ(settings_.Store(node, kKey, /*options=*/0, /*flush=*/1), 0u);
    node->Release();
  }

  static constexpr wchar_t kKey[] = L"RemoteAccess/enabled";
  const std::wstring root_ = L"Software\\TsrSettingsTest." + std::to_wstring(GetCurrentProcessId());
  FakeHost host_;
  TsrSettings settings_;
  std::wstring stored_;
};

TEST_F(TsrSettingsTest, StoresABoolAsARegistryNumberAndTellsWhoWatches) {
  settings_.Watch(this);
  EXPECT_EQ(Read(), "no value");
  Write(true);
  EXPECT_EQ(stored_, kKey);
  EXPECT_EQ(Read(), "true");
  DWORD data = 0;
  DWORD size = sizeof(data);
  EXPECT_EQ(RegGetValueW(HKEY_CURRENT_USER, (root_ + L"\\RemoteAccess").c_str(), L"enabled",
                         RRF_RT_REG_DWORD, nullptr, &data, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(data, 1u);
  settings_.Unwatch(this);
  Write(false);
  EXPECT_EQ(Read(), "false");
  EXPECT_EQ(stored_, kKey);
}

}  // namespace
}  // namespace host
