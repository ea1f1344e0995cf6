#pragma once

#include <gtest/gtest.h>

#include <string>

#include "module/frame/json.h"

namespace orn {

inline Json::Value Parse(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(JsonReader().Parse(text, value)) << text;
  return value;
}

inline std::string Write(const Json::Value& value) {
  JsonWriter writer;
  writer.OmitEndingLineFeed();
  return writer.Write(value);
}

}  // namespace orn
