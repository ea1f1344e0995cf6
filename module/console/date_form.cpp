#include "module/console/date_form.h"

#include <array>
#include <ctime>
#include <string>

#include "module/console/language_manager.h"

namespace orn::RemoteAccess::Console {
namespace {

// Keys of the translations; not all are three letters long.
constexpr std::array<const wchar_t*, 12> kMonths = {L"Jan",  L"Feb",  L"Mar",  L"Apr",
                                                    L"May",  L"June", L"July", L"Aug",
                                                    L"Sept", L"Oct",  L"Nov",  L"Dec"};

std::wstring TwoDigits(int number) {
  return (number < 10 ? L"0" : L"") + std::to_wstring(number);
}

}  // namespace

StringT<wchar_t> FormatDate(int64_t time) {
  std::tm local{};
  if (time == 0 || _localtime64_s(&local, &time) != 0) return {};
  const LanguageManager::Handle language;
  const auto month = language->Translate(kMonths.at(static_cast<size_t>(local.tm_mon)));
  StringT<wchar_t> date;
  date += std::to_wstring(local.tm_mday) + L" ";
  date += month;
  date += L", " + TwoDigits(local.tm_hour) + L":" + TwoDigits(local.tm_min);
  return date;
}

}  // namespace orn::RemoteAccess::Console
