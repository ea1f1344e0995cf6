#include "module/frame/json.h"

#include <gtest/gtest.h>

namespace orn {
namespace {

TEST(JsonTest, ParseFailsWithoutAnExceptionAndLeavesNull) {
  for (const std::string& text :
       {std::string(1001, '[') + std::string(1001, ']'), std::string(1'000'000, '['),
        std::string("{\"a\":"), std::string(), std::string("{\"a\":1,}x"), std::string("1e999"),
        std::string("\"\\ud800\""), std::string("nope")}) {
    Json::Value value = "old";
    EXPECT_FALSE(JsonReader().Parse(text, value)) << text.substr(0, 20);
    EXPECT_TRUE(value.isNull()) << text.substr(0, 20);
  }
}

TEST(JsonTest, GettersBearEveryTypeAtEveryPlace) {
  const struct {
    const char* text;
    uint32_t number;
    bool is_text;
  } cases[] = {
      {"null", 0, false},
      {"true", 1, true},
      {"-1", 0, true},
      {"4294967296", 0, true},
      {"1e300", 0, true},
      {"7.9", 7, true},
      {"\"12\"", 0, true},
      {"[1]", 0, false},
      {"{\"type\":{}}", 0, false},
      {"{\"type\":[]}", 0, false},
      {"// wide\n80 more", 80, true},
  };
  for (const auto& [text, number, is_text] : cases) {
    Json::Value value;
    EXPECT_TRUE(JsonReader().Parse(text, value)) << text;
    EXPECT_TRUE(JsonMember(JsonMember(value, "type"), "type").isNull()) << text;
    EXPECT_EQ(JsonUInt(value), number) << text;
    EXPECT_EQ(IsJsonUInt(value), number == 80) << text;
    EXPECT_EQ(JsonText(value).empty(), !is_text) << text;
  }
}

}  // namespace
}  // namespace orn
