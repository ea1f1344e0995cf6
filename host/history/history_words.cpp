#include "host/history/history_words.h"

#include <array>
#include <string_view>

#include "host/history/own_events.h"
#include "module/frame/error_codes.h"
#include "module/frame/utf.h"

namespace host::history {
namespace {

using Value = orn::StringT<wchar_t>;

// By the numbers of the events.
constexpr std::array<const wchar_t*, 4> kTexts = {
    L"The history was damaged. It was set aside and a new one was begun.",
    L"The agent ended unexpectedly. Sessions that were open then are not listed.",
    L"The history was removed. A new one was begun.",
    L"This record was removed or changed.",
};

}  // namespace

void HistoryWords::GetFeatures(std::vector<std::wstring>& features) {
  features.assign({kOwnFeature});
}

uint32_t HistoryWords::Translate(const wchar_t* feature, const IHistory::Event::Data& data,
                                 History::Translation& result) {
  const Value* const event = data.values.Find(0);
  if (feature == nullptr || feature != std::wstring_view(kOwnFeature) || event == nullptr) {
    return error::kFailed;
  }
  for (size_t number = 0; number < kTexts.size(); ++number) {
    if (event->view() != std::to_wstring(number)) continue;
    const Value* const detail = data.values.Find(2);
    result.title = lookup_(kTexts[number]).c_str();
    result.details = detail == nullptr ? Value() : *detail;
    result.extra["featureName"] = orn::ToUtf8(lookup_(kOwnFeature)).c_str();
    return error::kSuccess;
  }
  return error::kFailed;
}

}  // namespace host::history
