#include "module/frame/json.h"

#include <json/reader.h>
#include <json/writer.h>

#include <cstring>
#include <exception>

// The older classes are meant: what they accept and write is part of how this system behaves.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace orn {

bool JsonReader::Parse(const std::string& text, Json::Value& value) {
  try {
    Json::Reader reader;
    if (reader.parse(text, value, /*collectComments=*/true)) return true;
  } catch (const std::exception&) {
    // Nested too deep.
  }
  value = Json::Value();
  return false;
}

std::string JsonWriter::Write(const Json::Value& value) const {
  Json::FastWriter writer;
  if (!ends_in_line_feed_) writer.omitEndingLineFeed();
  return writer.write(value);
}

const Json::Value& JsonMember(const Json::Value& object, const char* name) {
  if (!object.isObject()) return Json::Value::nullSingleton();
  const Json::Value* const member = object.find(name, name + std::strlen(name));
  return member == nullptr ? Json::Value::nullSingleton() : *member;
}

std::string JsonText(const Json::Value& value) {
  return value.isString() || value.isNumeric() || value.isBool() ? value.asString() : std::string();
}

bool IsJsonUInt(const Json::Value& value) {
  return value.isUInt();
}

uint32_t JsonUInt(const Json::Value& value) {
  return value.isConvertibleTo(Json::uintValue) ? value.asUInt() : 0;
}

}  // namespace orn
