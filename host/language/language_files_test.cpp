#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <span>

#include "host/common/file_path.h"
#include "host/console/window/texts.h"
#include "host/language/language_file.h"
#include "module/console/format_template.h"
#include "module/frame/windows.h"

// The language files as they are shipped.

namespace host {
namespace {

using Texts = LanguageFile::Texts;

LanguageFile Language(const std::wstring& code) {
  LanguageFile language;
  const std::wstring path = FolderOf(ProgramPath()) + L"\\languages\\" + code + L".json";
  EXPECT_EQ(ReadLanguageFile(path, language), 0u) << path;
  EXPECT_EQ(language.ignored, 0u) << path;
  return language;
}

// What `pattern` finds in `text`, sorted.
std::multiset<std::wstring> Find(const std::wstring& text, const wchar_t* pattern) {
  const std::wregex expression(pattern);
  std::multiset<std::wstring> found;
  for (std::wsregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at)
    found.insert(at->str());
  return found;
}

// The code that uses texts, with literals of several lines on one.
std::wstring Code() {
  std::string code;
  for (const char* const folder : {"module/console", "host/console", "host/history"}) {
    const auto root = std::filesystem::path(RA_SOURCE_DIR) / folder;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      const std::string name = entry.path().filename().string();
      if (!name.ends_with(".h") && (!name.ends_with(".cpp") || name.ends_with("_test.cpp")))
        continue;
      std::ifstream file(entry.path(), std::ios::binary);
      code.append(std::istreambuf_iterator<char>(file), {});
    }
  }
  return std::regex_replace(WideText(code), std::wregex(LR"x("\s+L")x"), L"");
}

TEST(LanguageFiles, HaveAllTextsThatTheCodeLooksUpAndNoOthers) {
  const std::wstring code = Code();
  std::set<std::wstring> looked_up(std::begin(console::texts::kAll),
                                   std::end(console::texts::kAll));
  for (const std::wstring& place :
       Find(code, LR"x(Translate\(\s*L"[^"]*"|k(Months|Texts) = \{[^}]*\})x")) {
    for (const std::wstring& literal : Find(place, LR"x(L"[^"]*")x"))
      looked_up.insert(literal.substr(2, literal.size() - 3));
  }
  const Texts english = Language(L"en").namespaces[L"console"];
  for (const std::wstring& text : looked_up)
    EXPECT_TRUE(english.contains(text)) << text;
  for (const auto& [text, translation] : english) {
    const bool is_literal = code.find(L'"' + text + L'"') != code.npos;
    EXPECT_TRUE(is_literal || looked_up.contains(text)) << text;
    EXPECT_EQ(text, translation);
  }
}

TEST(LanguageFiles, AreWholeAndKeepThePlaceholdersOfTheEnglishTexts) {
  const Texts english = Language(L"en").namespaces[L"console"];
  for (const wchar_t* const code : {L"de", L"fr", L"es", L"ro"}) {
    SCOPED_TRACE(testing::Message() << code);
    LanguageFile language = Language(code);
    EXPECT_FALSE(language.name.empty());
    EXPECT_TRUE(language.punctuation.contains(46));
    const Texts& texts = language.namespaces[L"console"];
    EXPECT_EQ(texts.size(), english.size());
    for (const auto& [key, translation] : texts) {
      SCOPED_TRACE(testing::Message() << "\"" << key << "\": \"" << translation << "\"");
      EXPECT_TRUE(english.contains(key));
      EXPECT_FALSE(translation.empty());
      // Those of FormatMessage, those of the window, its keys, and what a menu shows behind a tab.
      constexpr const wchar_t* kMarks = L"\\[%.\\]|%.?|[\\[\\]]|\\{.?\\}?|&|\t";
      EXPECT_EQ(Find(key, kMarks), Find(translation, kMarks));
      if (key.find(L'%') == std::wstring::npos) continue;
      const orn::StringT<wchar_t> values[] = {L"\x2460", L"\x2461"};
      const auto text = orn::RemoteAccess::Console::FormatTemplate(translation.c_str(), values);
      EXPECT_EQ(Find(std::wstring(text.view()), L"[\x2460\x2461%\\[\\]]"),
                (std::multiset<std::wstring>{L"\x2460", L"\x2461"}));
    }
  }
}

// The letter that Alt goes with, in lower case; 0 for none.
wchar_t MnemonicOf(const std::wstring& text) {
  const size_t mark = text.find(L'&');
  wchar_t letter = mark == text.npos ? L'\0' : text[mark + 1];
  CharLowerBuffW(&letter, 1);
  return letter;
}

TEST(LanguageFiles, HaveDistinctMnemonicsWhereSeveralWorkAtTheSameTime) {
  using Group = std::span<const wchar_t* const>;
  using namespace console::texts;
  for (const wchar_t* const code : {L"en", L"de", L"fr", L"es", L"ro"}) {
    Texts texts = Language(code).namespaces[L"console"];
    for (const Group group : {Group(kLabels), Group(kTrayMenu), Group(kListMenu)}) {
      std::set<wchar_t> letters = {L'\0'};
      for (const wchar_t* const english : group)
        EXPECT_TRUE(letters.insert(MnemonicOf(texts[english])).second) << code << english;
    }
  }
}

}  // namespace
}  // namespace host
