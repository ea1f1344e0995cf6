#include "module/console/history_utils.h"

#include <cwchar>
#include <string>
#include <string_view>

#include "module/frame/error_codes.h"

namespace HistoryUtils {
namespace {

constexpr int32_t kText = -1;
constexpr int32_t kEventId = 0;
constexpr int32_t kEventVersion = 1;

template <class Number>
bool Scan(const IHistory::Event::Data& data, int32_t key, const wchar_t* format, Number* number) {
  const orn::StringT<wchar_t>* const text = data.values.Find(key);
  return text != nullptr && std::swscanf(text->c_str(), format, number) == 1;
}

}  // namespace

bool EventDataWrapper::Read(const IHistory::Event::Data& data, int32_t key, int32_t* value) {
  return Scan(data, key, L"%d", value);
}

bool EventDataWrapper::Read(const IHistory::Event::Data& data, int32_t key, int64_t* value) {
  long long number = 0;
  if (!Scan(data, key, L"%lld", &number)) return false;
  *value = number;
  return true;
}

bool EventDataWrapper::Write(int32_t key, const orn::StringT<wchar_t>& value) {
  // A map refuses a key that it has.
  if (orn::StringT<wchar_t>* const there = values.Find(key)) {
    *there = value;
    return true;
  }
  return values.Add(key, value) == error::kSuccess;
}

bool EventDataWrapper::Write(int32_t key, int64_t value) {
  return Write(key, orn::StringT<wchar_t>(std::to_wstring(value).c_str()));
}

bool EventDecoderBase::ReadEventId(const IHistory::Event::Data& data, int32_t* id) const {
  return Read(data, kEventId, id);
}

bool EventDecoderBase::ReadEventVersion(const IHistory::Event::Data& data, int32_t* version) const {
  return Read(data, kEventVersion, version);
}

bool EventDecoderBase::WriteEventId() {
  return Write(kEventId, int64_t{GetEventId()});
}

bool EventDecoderBase::WriteEventVersion() {
  return Write(kEventVersion, int64_t{GetEventVersion()});
}

bool EventDecoderBase::Encode() {
  const bool has_id = WriteEventId();
  return WriteEventVersion() && has_id;
}

bool EventDecoderBase::Matches(const wchar_t* feature, const IHistory::Event::Data& data) const {
  if (feature == nullptr || std::wstring_view(feature) != GetFeatureName()) return false;
  int32_t id = 0;
  return ReadEventId(data, &id) && id == GetEventId();
}

void EventDecoderBase::Assign(const IHistory::Event::Data& data) {
  static_cast<IHistory::Event::Data&>(*this) = data;
}

bool EventDecoderBase::SetText(const wchar_t* value) {
  return Write(kText, orn::StringT<wchar_t>(value));
}

bool EventDecoderBase::Send(IHistory* history) {
  if (history == nullptr) return false;
  Encode();
  return history->Add(this, GetFeatureName()) == error::kSuccess;
}

}  // namespace HistoryUtils
