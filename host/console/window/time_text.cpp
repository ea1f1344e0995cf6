#include "host/console/window/time_text.h"

#include "module/frame/windows.h"

namespace host::console {
namespace {

constexpr int64_t kTicksPerSecond = 10'000'000;
constexpr int64_t kFrom1601To1970 = 11'644'473'600;  // Seconds.
constexpr int64_t kLast = 253'402'300'799;           // The end of the year 9999.

bool ToLocalTime(int64_t time, SYSTEMTIME& local) {
  if (time <= 0 || time > kLast) return false;
  const int64_t ticks = (time + kFrom1601To1970) * kTicksPerSecond;
  const FILETIME file_time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  SYSTEMTIME universal;
  return FileTimeToSystemTime(&file_time, &universal) &&
         SystemTimeToTzSpecificLocalTime(/*zone=*/nullptr, &universal, &local);
}

}  // namespace

std::wstring DescribeTime(int64_t time, Seconds seconds) {
  SYSTEMTIME local;
  wchar_t date[80];
  wchar_t clock[80];
  if (!ToLocalTime(time, local) ||
      GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &local, /*format=*/nullptr, date,
                      80,
                      /*calendar=*/nullptr) == 0 ||
      GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, seconds == Seconds::kHidden ? TIME_NOSECONDS : 0,
                      &local, /*format=*/nullptr, clock, 80) == 0) {
    return {};
  }
  return std::wstring(date) + L' ' + clock;
}

}  // namespace host::console
