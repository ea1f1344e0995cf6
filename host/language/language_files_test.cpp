#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "host/common/file_path.h"
#include "host/language/language_file.h"
#include "module/console/format_template.h"

// The language files as they are shipped.

namespace host {
namespace {

using Texts = LanguageFile::Texts;
using TextSet = std::set<std::wstring>;

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

bool BracketsMatch(const std::wstring& text) {
  int depth = 0;
  for (const wchar_t c : text) {
    if (c == L'[') ++depth;
    if (c == L']' && --depth < 0) return false;
  }
  return depth == 0;
}

// Calls `use(text)` for the wide literals in `code`.
template <class Use>
void ForEachLiteral(const std::string& code, Use use) {
  static const std::regex literal(R"x(L"((?:[^"\\]|\\.)*)")x");
  static const std::regex tab(R"(\\t)");
  for (std::sregex_iterator at(code.begin(), code.end(), literal), end; at != end; ++at)
    use(WideText(std::regex_replace(at->str(1), tab, "\t")));
}

struct Literals {
  TextSet all;
  TextSet looked_up;  // For sure: arguments of Translate, and tables of texts.
};

Literals LiteralsOfTheCode() {
  const std::regex seam(R"x("\s+L")x");
  const std::regex look_up(R"x((?:Translate\(|const wchar_t\* k\w+ =)\s*L"(?:[^"\\]|\\.)*")x"
                           R"x(|std::array<const wchar_t\*, \d+> \w+ = \{[^}]*\})x");
  Literals literals;
  for (const char* const folder : {"module/console", "host/console", "host/history"}) {
    const auto root = std::filesystem::path(RA_SOURCE_DIR) / folder;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      const std::string name = entry.path().filename().string();
      const bool is_code = name.ends_with(".cpp") || name.ends_with(".h");
      if (!is_code || name.ends_with("_test.cpp")) continue;
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string text{std::istreambuf_iterator<char>(file), {}};
      const std::string code = std::regex_replace(text, seam, "");
      ForEachLiteral(code, [&](std::wstring each) { literals.all.insert(std::move(each)); });
      for (std::sregex_iterator at(code.begin(), code.end(), look_up), end; at != end; ++at) {
        // Constants elsewhere are names.
        if (at->str().starts_with("const wchar_t*") && name != "texts.h") continue;
        ForEachLiteral(at->str(),
                       [&](std::wstring each) { literals.looked_up.insert(std::move(each)); });
      }
    }
  }
  return literals;
}

TEST(LanguageFiles, HaveAllTextsThatTheCodeLooksUpAndNoOthers) {
  const Literals literals = LiteralsOfTheCode();
  ASSERT_GE(literals.looked_up.size(), 17u);
  const Texts english = Language(L"en").namespaces[L"console"];
  for (const std::wstring& text : literals.looked_up)
    EXPECT_TRUE(english.contains(text)) << text;
  for (const auto& [text, translation] : english) {
    EXPECT_TRUE(literals.all.contains(text)) << text;
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
      EXPECT_EQ(Find(key, L"\\[?%.?\\]?|\\{.?\\}?|&|\t"),
                Find(translation, L"\\[?%.?\\]?|\\{.?\\}?|&|\t"));
      EXPECT_TRUE(BracketsMatch(translation));
      if (key.find(L'%') == std::wstring::npos) continue;
      const orn::StringT<wchar_t> values[] = {L"\x2460", L"\x2461"};
      const auto text = orn::RemoteAccess::Console::FormatTemplate(translation.c_str(), values);
      EXPECT_EQ(Find(std::wstring(text.view()), L"[\x2460\x2461%\\[\\]]"),
                (std::multiset<std::wstring>{L"\x2460", L"\x2461"}));
    }
  }
}

}  // namespace
}  // namespace host
