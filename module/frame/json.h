#pragma once

#include <json/value.h>

#include <cstdint>
#include <string>

// JSON from outside, read without an exception whatever it holds:
//
//   Json::Value message;
//   if (!orn::JsonReader().Parse(text, message)) return;
//   const Json::Value& size = orn::JsonMember(message, "resize");
//   const uint32_t cols = orn::JsonUInt(orn::JsonMember(size, "cols"));
//
// Reading and writing stay with JsonCpp's older classes: they take comments, a scalar at the root
// and text behind the value, and their output is what the other side is used to.

namespace orn {

class JsonReader {
 public:
  // Comments are kept with the values. False where the text is no JSON or nested deeper than 1,000
  // levels; `value` is null then.
  bool Parse(const std::string& text, Json::Value& value);
};

// One line, ending in a line feed; members sorted by name.
class JsonWriter {
 public:
  void OmitEndingLineFeed() { ends_in_line_feed_ = false; }
  std::string Write(const Json::Value& value) const;

 private:
  bool ends_in_line_feed_ = true;
};

// A null value where `object` is no object or has no such member. Lives as long as `object`.
const Json::Value& JsonMember(const Json::Value& object, const char* name);

// Numbers and bools are read as their texts; empty for null, arrays and objects.
std::string JsonText(const Json::Value& value);

// Whether the value is a number without a fraction that fits 32 bits.
bool IsJsonUInt(const Json::Value& value);
// Fractions are cut off, bools are 0 or 1; 0 where there is no number that fits 32 bits.
uint32_t JsonUInt(const Json::Value& value);

}  // namespace orn
