#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace host {

// The texts of one language, from a file such as
//
//   {
//     "name": "Deutsch",
//     "punctuation": {"46": "."},
//     "console": {"Session Started:": "Sitzungsbeginn:", ...}
//   }
//
// Besides the name and the punctuation (by the code of the English character) each member is a
// namespace of texts, which are looked up by their English form.
struct LanguageFile {
  using Texts = std::map<std::wstring, std::wstring, std::less<>>;

  static constexpr size_t kMostBytes = size_t{1} << 20;
  static constexpr size_t kMostCharacters = 4096;  // Of a text, in bytes.

  std::wstring name;
  std::map<int32_t, std::wstring> punctuation;
  std::map<std::wstring, Texts, std::less<>> namespaces;

  // How many values were left out, as they are no texts or too long.
  size_t ignored = 0;
};

// 0; 13 for what is no UTF-8, no JSON by the letter, or no object.
uint32_t ParseLanguageFile(std::string_view bytes, LanguageFile& language);

// As ParseLanguageFile; 1168 where there is no such file, 223 for one of more than kMostBytes, or
// why it cannot be read.
uint32_t ReadLanguageFile(const std::wstring& path, LanguageFile& language);

}  // namespace host
