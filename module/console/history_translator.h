#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "module/console/language_manager.h"
#include "module/console/translate.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"

namespace orn::RemoteAccess::Console {

// Puts the feature's records of the history into words when somebody looks at them, exported as
// "RemoteAccess.Console.HistoryTranslator".
class HistoryTranslator final : public IServPlugin, public History::IHistoryTranslator {
 public:
  HistoryTranslator() = default;
  HistoryTranslator(const HistoryTranslator&) = delete;
  HistoryTranslator& operator=(const HistoryTranslator&) = delete;
  virtual ~HistoryTranslator() = default;

  // IServPlugin. It works without them.
  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain*) override { return 0; }
  void UnInit() override {}
  int32_t Start() override { return 0; }
  void Stop() override {}

  // IHistoryTranslator
  void GetFeatures(std::vector<std::wstring>& features) override;
  uint32_t Translate(const wchar_t* feature, const IHistory::Event::Data& data,
                     History::Translation& result) override;
  void Reserved() override {}

 private:
  const logging::LogReference log_;
  const LanguageManager::Handle language_;  // Or the service would come and go with each record.
  const Console::Translate translate_;
};

}  // namespace orn::RemoteAccess::Console
