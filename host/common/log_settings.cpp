#include "host/common/log_settings.h"

#include <pugixml.hpp>

#include <array>
#include <charconv>
#include <string_view>

#include "host/common/file_path.h"

namespace host {
namespace {

constexpr std::array<std::string_view, 5> kLevels = {"error", "warning", "notice", "information",
                                                     "trace"};

template <class Number>
bool ReadNumber(std::string_view text, Number least, Number largest, Number& number) {
  Number value{};
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failure != std::errc() || end != text.data() + text.size()) return false;
  if (value < least || value > largest) return false;
  number = value;
  return true;
}

// A mask of the level's value, a power of two from 2, and all those below.
bool ReadLevel(std::string_view text, uint32_t& mask) {
  uint32_t levels = 0;
  for (size_t i = 0; i < kLevels.size(); ++i) {
    levels |= 2u << i;
    if (text == kLevels[i]) {
      mask = levels;
      return true;
    }
  }
  return false;
}

}  // namespace

std::string ReadLogSettings(const pugi::xml_node& element, const std::wstring& folder,
                            LogSettings& settings) {
  for (const pugi::xml_attribute& attribute : element.attributes()) {
    const std::string_view name = attribute.name();
    const std::string_view value = attribute.value();
    bool good = true;
    if (name == "path") {
      good = !value.empty();
      settings.path = ConfiguredPath(folder, WideText(value));
    } else if (name == "level") {
      good = ReadLevel(value, settings.level_mask);
    } else if (name == "maxSize") {
      good = ReadNumber<uint64_t>(value, 4096, uint64_t{1} << 40, settings.max_size);
    } else if (name == "files") {
      good = ReadNumber<uint32_t>(value, 1, 1000, settings.files);
    } else {
      return "<log> has an unknown attribute \"" + std::string(name) + "\"";
    }
    if (!good) {
      return "attribute \"" + std::string(name) + "\" of <log> has the unusable value \"" +
             std::string(value) + "\"";
    }
  }
  return settings.path.empty() ? "<log> lacks the attribute \"path\"" : "";
}

}  // namespace host
