#include "host/history/own_events.h"

namespace host::history {

IHistory::Event::Data OwnEventData(OwnEvent event, std::wstring_view detail) {
  IHistory::Event::Data data;
  data.values.Add(0, std::to_wstring(static_cast<int>(event)).c_str());
  data.values.Add(1, L"0");
  if (!detail.empty()) data.values.Add(2, orn::StringT<wchar_t>(detail));
  return data;
}

}  // namespace host::history
