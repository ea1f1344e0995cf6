#include "host/language/language_manager.h"

#include <gtest/gtest.h>

#include "module/frame/testing/test_folder.h"

namespace host {
namespace {

std::wstring Translated(ILanguageManager& manager, const wchar_t* text) {
  orn::StringT<wchar_t> result(L"untouched");
  const uint32_t status = manager.Translate(text, L"console", &result);
  return status == 0 ? std::wstring(result.view()) : std::to_wstring(status) + result.c_str();
}

TEST(LanguageManager, ReadsFilesStrictlyAndFallsBackToEnglish) {
  const TestFolder folder;
  folder.Folder(L"languages");
  folder.Write(L"secret.json", R"({"console": {"May": "secret"}})");
  folder.Write(L"languages\\de.json",
               "\xEF\xBB\xBF{\"name\": \"Deutsch\", \"punctuation\": {\"46\": \"!\", \"x\": \".\"},"
               "\"console\": {\"May\": \"M\xC3\xA4i\", \"Jan\": 1}, \"other\": [], \"more\": {}}");
  folder.Write(L"languages\\nl.json",
               R"({"console": {"May": ")" + std::string(4097, 'm') + R"("}})");
  folder.Write(L"languages\\fr.json", R"({"name": "Fran)"
                                      "\xE7"
                                      R"(ais"})");
  folder.Write(L"languages\\es.json", R"({"name": "Español"} more)");
  folder.Write(L"languages\\it.json", std::string(5000, '['));
  folder.Write(L"languages\\pt.json", R"({"name": ")" + std::string(1 << 20, 'x') + R"("})");
  folder.Write(L"languages\\ro.json", "[1]");
  LanguageManager manager(folder / L"languages");
  EXPECT_EQ(Translated(manager, L"May"), L"1168untouched");
  EXPECT_EQ(manager.SetLanguage(L"de-AT"), 0u);
  EXPECT_EQ(manager.GetLanguage(), L"de");
  EXPECT_EQ(Translated(manager, L"May"), L"M\u00E4i");
  EXPECT_EQ(Translated(manager, L"Jan"), L"1168untouched");
  EXPECT_EQ(manager.Start(), 0);  // A choice that was made stays.
  orn::StringT<wchar_t> sentence(L"a");
  manager.AddPunctuation(sentence, 46);
  manager.AddPunctuation(sentence, 63);
  EXPECT_EQ(sentence, L"a!?");
  for (const wchar_t* const broken : {L"fr", L"es", L"it", L"pt", L"ro"}) {
    EXPECT_EQ(manager.SetLanguage(L"de"), 0u);
    EXPECT_EQ(manager.SetLanguage(broken), 13u);
    EXPECT_EQ(manager.GetLanguage(), L"en");
    EXPECT_EQ(Translated(manager, L"May"), L"1168untouched");
  }
  for (const wchar_t* const absent : {L"sv", L"..\\secret", L"../secret", L"", L"-", L"de.json"})
    EXPECT_EQ(manager.SetLanguage(absent), 1168u) << absent;
  EXPECT_EQ(manager.SetLanguage(nullptr), 1168u);
  EXPECT_EQ(manager.SetLanguage(L"nl"), 0u);
  EXPECT_EQ(Translated(manager, L"May"), L"1168untouched");
  std::wstring all;
  for (const auto& [code, name] : manager.GetLanguages())
    all.append(code).append(L" ").append(name).append(L"; ");
  EXPECT_EQ(all, L"de Deutsch; en English; nl nl; ");
}

}  // namespace
}  // namespace host
