#include "module/rpc/properties.h"

#include <locale>
#include <sstream>

namespace messaging::rpc {

const std::string* string_property(const channel_subscriber& entry, const char* name) {
  const auto found = entry.properties.find(name);
  return found == entry.properties.end() ? nullptr : &found->second;
}

std::optional<int32_t> int_property(const channel_subscriber& entry, const char* name) {
  const std::string* const text = string_property(entry, name);
  if (text == nullptr) return std::nullopt;
  std::istringstream stream(*text);
  stream.imbue(std::locale::classic());
  int32_t value = 0;
  stream >> value;
  const bool is_whole = !stream.fail() && stream.peek() == std::istringstream::traits_type::eof();
  return is_whole ? std::optional(value) : std::nullopt;
}

void write_int_property(channel_subscriber& entry, const char* name, int32_t value) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream << value;
  entry.properties[name] = stream.str();
}

}  // namespace messaging::rpc
