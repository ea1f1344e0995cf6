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

  // "no node", "failure", "no value", "no bool", "true" or "false".
  std::string Read(const wchar_t* key, const wchar_t* name = L"") {
    ITsrSettings::INode* const node = settings_.OpenForRead(key, 0);
    if (node == nullptr) return "no node";
    std::string result = "failure";
    if (node->GetFailure() == 0) {
      result = "no value";
      if (ITsrSettings::IValue* const value = node->GetValue(name); value != nullptr) {
        bool on = false;
        result = !value->GetBool(&on) ? "no bool" : on ? "true" : "false";
        value->Release();
      }
    }
    node->Release();
    return result;
  }
  uint32_t Write(const wchar_t* key, const wchar_t* name, bool on) {
    ITsrSettings::INode* const node = settings_.OpenForWrite(key);
    ITsrSettings::IValue* const value = node->GetValue(name);
    value->SetBool(on);
    value->Release();
    const uint32_t result = settings_.Store(node, key, /*options=*/0, /*flush=*/1);
    node->Release();
    return result;
  }

  const std::wstring root_ = L"Software\\TsrSettingsTest." + std::to_wstring(GetCurrentProcessId());
  FakeHost host_;
  TsrSettings settings_;
  std::wstring stored_;
};

TEST_F(TsrSettingsTest, StoresABoolAsARegistryNumberAndTellsWhoWatches) {
  settings_.Watch(this);
  EXPECT_EQ(Read(L"RemoteAccess/enabled"), "no value");
  EXPECT_EQ(Write(L"RemoteAccess/enabled", L"", true), 0u);
  EXPECT_EQ(stored_, L"RemoteAccess/enabled");
  EXPECT_EQ(Read(L"RemoteAccess/enabled"), "true");
  DWORD data = 0;
  DWORD size = sizeof(data);
  EXPECT_EQ(RegGetValueW(HKEY_CURRENT_USER, (root_ + L"\\RemoteAccess").c_str(), L"enabled",
                         RRF_RT_REG_DWORD, nullptr, &data, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(data, 1u);
  settings_.Unwatch(this);
  EXPECT_EQ(Write(L"RemoteAccess/enabled", L"", false), 0u);
  EXPECT_EQ(Read(L"RemoteAccess/enabled"), "false");
  EXPECT_EQ(stored_, L"RemoteAccess/enabled");
}

TEST_F(TsrSettingsTest, GivesNoBoolForAnotherTypeAndNoNodeForABadKey) {
  EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, (root_ + L"\\A").c_str(), L"text", REG_SZ,
                            L"a longer one", sizeof(L"a longer one")),
            ERROR_SUCCESS);
  EXPECT_EQ(Read(L"A/text"), "no bool");
  for (const wchar_t* const key : {L"", L"/", L"A/", L"/A", L"A//B", L"A\\B"}) {
    EXPECT_EQ(Read(key), "no node");
  }
  // No key of the registry has a part longer than 255 characters.
  EXPECT_NE(Write((std::wstring(300, L'x') + L"/enabled").c_str(), L"", true), 0u);
}

}  // namespace
}  // namespace host
