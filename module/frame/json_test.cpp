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
  for (const char* text : {"null", "true", "-1", "4294967296", "1e300", "7.9", "\"12\"", "[1]",
                           "{\"type\":{}}", "{\"type\":[]}", "// wide\n80 more"}) {
    Json::Value value;
    EXPECT_TRUE(JsonReader().Parse(text, value)) << text;
    EXPECT_TRUE(JsonMember(JsonMember(value, "type"), "type").isNull()) << text;
    const uint32_t number = *text == 't' ? 1 : *text == '7' ? 7 : *text == '/' ? 80 : 0;
    EXPECT_EQ(JsonUInt(value), number) << text;
    EXPECT_EQ(IsJsonUInt(value), number == 80) << text;
    EXPECT_EQ(JsonText(value).empty(), value.isNull() || value.isArray() || value.isObject());
  }
}

}  // namespace
}  // namespace orn
