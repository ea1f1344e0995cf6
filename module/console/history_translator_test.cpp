#include "module/console/history_translator.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "module/console/date_form.h"
#include "module/console/format_template.h"
#include "module/frame/testing/json_text.h"

namespace orn::RemoteAccess::Console {
namespace {

TEST(HistoryTranslator, PutsRecordsIntoTheWordsOfTheLanguageInWhichTheyAreRead) {
  _putenv("TZ=UTC0");
  _tzset();
  const LanguageManager::Handle language;
  HistoryTranslator translator;
  OnEndTerminalSession event;
  event.start_timestamp = 1714727100;
  event.end_timestamp = 1714728000;
  event.Encode();
  History::Translation words;
  language->SetLibrary(L"is not there.dll");
  ASSERT_EQ(translator.Translate(L"RemoteAccess", event, words), 0u);
  EXPECT_EQ(words.title, L"Administrator ended a remote shell connection");
  EXPECT_EQ(words.details, L"Session Started: 3 May, 09:05. Session Ended: 3 May, 09:20");

  language->SetLibrary(L"LanguageManager.dll", L"de");
  words.extra = 5;  // Gives way.
  event.end_timestamp = 0;
  event.Encode();
  ASSERT_EQ(translator.Translate(L"RemoteAccess", event, words), 0u);
  EXPECT_EQ(words.details, L"Sitzungsbeginn: 3 Mai, 09:05. Sitzungsende: ");
  EXPECT_EQ(Write(words.extra), R"({"featureName":"Remoteshell-Verbindung"})");
  EXPECT_EQ(translator.Translate(L"History", event, words), 1627u);
  *event.values.Find(0) = L"1";
  EXPECT_EQ(translator.Translate(L"RemoteAccess", event, words), 1627u);
  for (const int32_t key : {0, 1, 2, 3}) {
    event.Encode();
    *event.values.Find(key) = L"x";
    EXPECT_EQ(translator.Translate(L"RemoteAccess", event, words), 1627u) << key;
    event.values.Remove(key);
    EXPECT_EQ(translator.Translate(L"RemoteAccess", event, words), 1627u) << key;
  }
}

TEST(ConsoleTexts, AreEmptyForWhatIsNoTimeOrNoPattern) {
  for (const int64_t time : {int64_t{0}, int64_t{-1}, INT64_MAX, INT64_MIN})
    EXPECT_EQ(FormatDate(time), L"") << time;
  const StringT<wchar_t> values[] = {L"[a]", L"%2"};
  EXPECT_EQ(FormatTemplate(L"[%2], [%1] %%", values), L"%2, [a] %");
  EXPECT_EQ(FormatTemplate(L"%", values), L"");
  FormatTemplate(L"%3 %99", values);  // Nothing is read past the arguments.
}

}  // namespace
}  // namespace orn::RemoteAccess::Console
