#include "module/console/translate.h"

#include <array>

#include "module/console/date_form.h"
#include "module/console/format_template.h"
#include "module/console/language_manager.h"
#include "module/frame/json_path.h"

namespace orn::RemoteAccess::Console {

bool TranslateOnEndTerminalSession::Translate(const wchar_t* feature,
                                              const IHistory::Event::Data& data,
                                              History::Translation& result) const {
  OnEndTerminalSession event;
  if (!event.Decode(feature, data)) return false;
  const StringT<wchar_t> start = FormatDate(event.start_timestamp);
  const StringT<wchar_t> end = FormatDate(event.end_timestamp);
  const LanguageManager::Handle language;
  const StringT<wchar_t> name = language->Translate(L"Remote Shell Connection");
  result.title = language->Translate(L"Administrator ended a remote shell connection");
  result.details = FormatTemplate(
      language->Translate(L"Session Started: [%1]. Session Ended: [%2]"), std::array{start, end});
  SetJson(name, &result.extra, "featureName");
  return true;
}

bool TranslateEvents::Translate(const wchar_t* feature, const IHistory::Event::Data& data,
                                History::Translation& result) const {
  IConstListEnum<TranslateEventBase*>* const walk = events_.GetConstEnum();
  bool translated = false;
  while (walk->HasNext()) {
    const TranslateEventBase* const event = *walk->Next();
    const HistoryUtils::EventDecoderBase* const decoder = event->GetDecoder();
    if (decoder == nullptr || !decoder->Matches(feature, data)) continue;
    translated = event->Translate(feature, data, result);
    break;
  }
  walk->Release();
  return translated;
}

}  // namespace orn::RemoteAccess::Console
