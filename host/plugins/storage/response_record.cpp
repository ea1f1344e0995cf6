#include "host/plugins/storage/response_record.h"

#include <algorithm>
#include <string_view>

#include "module/frame/base64.h"
#include "module/frame/windows.h"

namespace host::storage {

namespace {

constexpr size_t kLongestBody = 1024 * 1024;

// What nests deeper is no text that could be a part of an event.
constexpr int kDeepestBody = 500;

bool IsTextType(std::string content_type) {
  std::ranges::transform(content_type, content_type.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  std::string_view type = std::string_view(content_type).substr(0, content_type.find(';'));
  type = type.substr(0, type.find_last_not_of(' ') + 1);
  return type.starts_with("text/") || type == "application/json" || type == "application/xml" ||
         type.ends_with("+json") || type.ends_with("+xml");
}

// Where the text is cut in the middle of a character, that one goes.
std::string_view WholeCharacters(std::string_view text) {
  size_t start = text.size();
  while (start > 0 && text.size() - start < 4) {
    const auto byte = static_cast<unsigned char>(text[--start]);
    if ((byte & 0xC0) == 0x80) continue;
    const size_t length = byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    return start + length > text.size() ? text.substr(0, start) : text;
  }
  return text;
}

bool IsText(std::string_view text) {
  return text.find('\0') == std::string_view::npos &&
         MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                             static_cast<int>(text.size()), nullptr, 0) != 0;
}

// Brackets within strings count too: at worst a text goes as Base64.
bool NestsTooDeeply(std::string_view text) {
  int levels = 0;
  return std::ranges::any_of(text, [&levels](char c) {
    if (c == '[' || c == '{') ++levels;
    if (c == ']' || c == '}') --levels;
    return levels > kDeepestBody;
  });
}

}  // namespace

orn::RemoteAccess::HttpResponse MakeResponseRecord(const ResponseHead& head,
                                                   const std::string& body) {
  orn::RemoteAccess::HttpResponse record;
  record.responseCode = head.status;
  record.contentType = std::string_view(head.content_type);
  record.contentLength =
      head.content_length >= 0 ? head.content_length : static_cast<int64_t>(body.size());
  const std::string_view kept = std::string_view(body).substr(0, kLongestBody);
  if (kept.empty()) return record;
  const std::string_view text = WholeCharacters(kept);
  if (IsTextType(head.content_type) && IsText(text) && !NestsTooDeeply(text)) {
    record.body = text;
  } else {
    std::string encoded;
    Base64ObjectImplementation().Encode(kept.data(), kept.size(), encoded, /*pad=*/true);
    record.body64 = std::string_view(encoded);
  }
  return record;
}

std::string ReadResponseBody(HttpRequest& request) {
  std::string body;
  std::string_view piece;
  while (body.size() < kLongestBody && request.Read(piece) == 0 && !piece.empty())
    body += piece;
  body.resize(std::min(body.size(), kLongestBody));
  return body;
}

}  // namespace host::storage
