#include "host/language/language_file.h"

#include <json/reader.h>

#include <charconv>
#include <exception>
#include <memory>
#include <utility>

#include "host/common/file_path.h"
#include "module/frame/error_codes.h"
#include "module/frame/handle.h"
#include "module/frame/windows.h"

namespace host {
namespace {

bool IsUtf8(std::string_view bytes) {
  return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(),
                             static_cast<int>(bytes.size()), /*lpWideCharStr=*/nullptr,
                             /*cchWideChar=*/0) != 0;
}

bool ParseStrictly(std::string_view text, Json::Value& value) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  try {
    return reader->parse(text.data(), text.data() + text.size(), &value, /*errs=*/nullptr) &&
           value.isObject();
  } catch (const std::exception&) {
    return false;  // Nested too deep.
  }
}

bool IsText(const Json::Value& value) {
  return value.isString() && value.asString().size() <= LanguageFile::kMostCharacters;
}

// Calls `use(name, text)` for the members of `object` that are texts.
template <class Use>
void ForEachText(const Json::Value& object, size_t& ignored, Use use) {
  if (!object.isObject()) {
    ++ignored;
    return;
  }
  for (auto member = object.begin(); member != object.end(); ++member) {
    if (!IsText(*member) || !use(member.name(), WideText(member->asString()))) ++ignored;
  }
}

bool ReadCode(const std::string& text, int32_t& code) {
  const char* const end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, code);
  return failure == std::errc() && stop == end;
}

}  // namespace

uint32_t ParseLanguageFile(std::string_view bytes, LanguageFile& language) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
  Json::Value root;
  if (!IsUtf8(bytes) || !ParseStrictly(bytes, root)) return error::kInvalidData;

  LanguageFile result;
  for (auto member = root.begin(); member != root.end(); ++member) {
    const std::string key = member.name();
    if (key == "name") {
      if (IsText(*member)) {
        result.name = WideText(member->asString());
      } else {
        ++result.ignored;
      }
    } else if (key == "punctuation") {
      ForEachText(*member, result.ignored, [&](const std::string& code_text, std::wstring text) {
        int32_t code = 0;
        return ReadCode(code_text, code) &&
               result.punctuation.emplace(code, std::move(text)).second;
      });
    } else {
      LanguageFile::Texts& texts = result.namespaces[WideText(key)];
      ForEachText(*member, result.ignored, [&](const std::string& english, std::wstring text) {
        return texts.emplace(WideText(english), std::move(text)).second;
      });
    }
  }
  language = std::move(result);
  return error::kSuccess;
}

uint32_t ReadLanguageFile(const std::wstring& path, LanguageFile& language) {
  const orn::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                         FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr));
  if (!file) {
    const DWORD code = GetLastError();
    const bool is_absent = code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
    return is_absent ? error::kNotFound : code;
  }
  std::string bytes(LanguageFile::kMostBytes + 1, '\0');
  DWORD count = 0;
  if (!ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count,
                /*lpOverlapped=*/nullptr)) {
    return GetLastError();
  }
  if (count == bytes.size()) return error::kSizeLimit;
  return ParseLanguageFile(std::string_view(bytes.data(), count), language);
}

}  // namespace host
