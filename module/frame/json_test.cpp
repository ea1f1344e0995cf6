#include "module/frame/json.h"

#include <gtest/gtest.h>

namespace orn {
namespace {

Json::Value Parsed(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(JsonReader().Parse(text, value)) << text;
  return value;
}

TEST(JsonTest, ParseFailsWithoutAnExceptionAndLeavesNull) {
  const auto nested = [](size_t levels) {
    return std::string(levels, '[') + std::string(levels, ']');
  };
  for (const std::string& text : {nested(1001), std::string(1'000'000, '['), std::string("{\"a\":"),
                                  std::string(""), std::string("{\"a\":1,}x"), std::string("1e999"),
                                  std::string("\"\\ud800\""), std::string("nope")}) {
    Json::Value value = "old";
    EXPECT_FALSE(JsonReader().Parse(text, value)) << text.substr(0, 20);
    EXPECT_TRUE(value.isNull()) << text.substr(0, 20);
  }
  EXPECT_EQ(JsonWriter().Write(Parsed(nested(1000))), nested(1000) + "\n");
}

TEST(JsonTest, CommentsScalarsAndTrailingTextPass) {
  EXPECT_EQ(Parsed("// size\n{\"cols\": 80 /* wide */} and more")["cols"], 80);
  EXPECT_EQ(Parsed("\"text\""), "text");
  JsonWriter writer;
  EXPECT_EQ(writer.Write(Parsed("{\"b\":[1,\"x\"],\"a\":null}")), "{\"a\":null,\"b\":[1,\"x\"]}\n");
  writer.OmitEndingLineFeed();
  EXPECT_EQ(writer.Write(Parsed("true")), "true");
}

TEST(JsonTest, GettersBearEveryTypeAtEveryPlace) {
  for (const char* text : {"null", "true", "-1", "4294967296", "1e300", "7.9", "\"12\"", "[1]",
                           "{\"type\":{}}", "{\"type\":[[]]}", "{\"other\":1}"}) {
    const Json::Value value = Parsed(text);
    const Json::Value& member = JsonMember(JsonMember(value, "type"), "type");
    EXPECT_TRUE(member.isNull()) << text;
    EXPECT_EQ(JsonText(member), "");
    EXPECT_EQ(JsonUInt(value), std::string_view(text) == "true" ? 1U
                               : *text == '7'                   ? 7U
                                                                : 0U)
        << text;
    EXPECT_FALSE(IsJsonUInt(value)) << text;
    EXPECT_EQ(JsonText(value).empty(), value.isNull() || value.isArray() || value.isObject())
        << text;
  }
  const Json::Value size = Parsed("{\"cols\":4294967295,\"name\":\"a\\u0000b\"}");
  EXPECT_TRUE(IsJsonUInt(JsonMember(size, "cols")));
  EXPECT_EQ(JsonUInt(JsonMember(size, "cols")), 4294967295U);
  EXPECT_EQ(JsonText(JsonMember(size, "name")), std::string("a\0b", 3));
}

}  // namespace
}  // namespace orn
