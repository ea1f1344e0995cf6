#include "host/setup/setup_values.h"

#include <cctype>
#include <map>
#include <pugixml.hpp>
#include <string_view>

#include "host/common/file_path.h"
#include "host/setup/package_files.h"
#include "module/frame/utf.h"

namespace host::setup {
namespace {

constexpr size_t kLargestFile = 64 * 1024;

struct Field {
  const char* name;
  std::wstring SetupValues::* value;
};
constexpr Field kFields[] = {{"server", &SetupValues::server},
                             {"machineId", &SetupValues::machine_id},
                             {"machineName", &SetupValues::machine_name}};

std::string Utf8(const std::wstring& text) {
  return std::string(orn::ToUtf8(text).view());
}

std::string XmlText(const std::wstring& text) {
  std::string escaped;
  for (const char c : Utf8(text)) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

}  // namespace

SetupValues ReadSetupValues(const std::wstring& file) {
  SetupValues values;
  std::string text;
  pugi::xml_document document;
  if (ReadWholeFile(file, kLargestFile, text) != 0 ||
      !document.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8)) {
    return values;
  }
  const pugi::xml_node root = document.child("setup");
  for (const Field& field : kFields)
    values.*field.value = WideText(root.attribute(field.name).value());
  return values;
}

std::string SetupValuesText(const SetupValues& values) {
  std::string text = "<!-- What set-up was told. An upgrade takes it from here. -->\n<setup";
  for (const Field& field : kFields)
    text += std::string(" ") + field.name + "=\"" + XmlText(values.*field.value) + "\"";
  return text + "/>\n";
}

std::string FillTemplate(std::string text, const SetupValues& values) {
  const std::map<std::string_view, std::wstring> meanings = {
      {"SERVER_URL", L"ws" + values.server.substr(4)},
      {"SERVER_HTTP", values.server},
      {"KEY_FILE", values.key_file()},
      {"MACHINE_ID", values.machine_id},
      {"MACHINE_NAME", values.machine_name},
      {"DATA_DIR", values.data + L"\\data"},
      {"WORKER_DATA_DIR", values.data + L"\\worker"},
      {"HISTORY", values.data + L"\\data\\history\\history.db"},
      {"CONSOLE_DATA_DIR", L"%LOCALAPPDATA%\\Tessaro"},
  };
  std::string filled;
  for (size_t at = 0;;) {
    const size_t begin = text.find('@', at);
    filled.append(text, at, begin - at);
    if (begin == std::string::npos) return filled;
    size_t end = begin + 1;
    while (end < text.size() &&
           (std::isupper(static_cast<unsigned char>(text[end])) || text[end] == '_')) {
      ++end;
    }
    if (end == begin + 1 || end == text.size() || text[end] != '@') {
      filled += '@';
      at = begin + 1;
      continue;
    }
    const auto meaning = meanings.find(std::string_view(text).substr(begin + 1, end - begin - 1));
    if (meaning == meanings.end()) return {};
    filled += XmlText(meaning->second);
    at = end + 1;
  }
}

}  // namespace host::setup
