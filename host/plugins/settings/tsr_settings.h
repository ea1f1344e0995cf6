#pragma once

#include <string>
#include <vector>

#include "host/common/sync.h"
#include "host/plugins/settings/settings_watch.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/windows.h"
#include "module/platform/tsr_settings.h"

namespace host {

// "TsrSettings": the persisted settings, in the registry under HKLM\Software\Tessaro.
// "RemoteAccess/enabled" is the REG_DWORD `enabled` of the key `RemoteAccess` there. Only
// administrators may write to that place, so nobody else can turn the feature on.
//
// Option "root": another place, beginning with HKLM\ or HKCU\.
class TsrSettings final : public ITsrSettings, public ISettingsWatch, public IServPlugin {
 public:
  TsrSettings() = default;
  TsrSettings(const TsrSettings&) = delete;
  TsrSettings& operator=(const TsrSettings&) = delete;
  virtual ~TsrSettings() = default;

  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain* main) override;
  void UnInit() override {}
  int32_t Start() override { return 0; }
  void Stop() override {}

  INode* OpenForRead(const wchar_t* key, uint32_t options) override;
  INode* OpenForWrite(const wchar_t* key) override;
  uint32_t Store(INode* node, const wchar_t* key, uint32_t options, uint32_t flush) override;

  void Watch(IObserver* observer) override;
  void Unwatch(IObserver* observer) override;

 private:
  const logging::LogReference log_;
  HKEY hive_ = HKEY_LOCAL_MACHINE;
  std::wstring root_ = L"Software\\Tessaro";

  Mutex mutex_;
  std::vector<IObserver*> observers_;  // Not owned.
};

}  // namespace host
