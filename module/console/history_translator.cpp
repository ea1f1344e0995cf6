#include "module/console/history_translator.h"

#include "module/frame/error_codes.h"
#include "module/frame/log.h"

namespace orn::RemoteAccess::Console {

void* HistoryTranslator::GetInterface(const InterfaceId& id) {
  if (id == IHistoryTranslator::kInterfaceId) return static_cast<IHistoryTranslator*>(this);
  const bool is_served = id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId;
  return is_served ? static_cast<IServPlugin*>(this) : nullptr;
}

void HistoryTranslator::GetFeatures(std::vector<std::wstring>& features) {
  features.assign(1, L"RemoteAccess");
}

uint32_t HistoryTranslator::Translate(const wchar_t* feature, const IHistory::Event::Data& data,
                                      History::Translation& result) {
  const LogFunctionTrace trace(L"orn::RemoteAccess::Console::HistoryTranslator::Translate");
  return translate_.Translate(feature, data, result) ? error::kSuccess : error::kFailed;
}

}  // namespace orn::RemoteAccess::Console
