#include "module/frame/base64.h"

#include <gtest/gtest.h>

#include "module/frame/error_codes.h"

namespace {

using Bytes = std::vector<uint8_t>;

TEST(Base64Test, EveryLengthSurvivesBothWaysPaddedAndUnpadded) {
  Base64ObjectImplementation base64;
  Bytes data;
  for (unsigned i = 0; i < 300; ++i) {
    data.push_back(static_cast<uint8_t>(i * 167));
    for (const bool pad : {false, true}) {
      std::string text = "replaced";
      const char* const encoded = base64.Encode(data, text, pad);
      EXPECT_EQ(encoded, text.c_str());
      EXPECT_EQ(text.size(), pad ? (data.size() + 2) / 3 * 4 : (data.size() * 4 + 2) / 3);
      Bytes decoded;
      EXPECT_EQ(base64.Decode(text, decoded), 0U);
      EXPECT_EQ(decoded, data);
    }
  }
  const auto encode = [&](std::string_view from, bool pad) {
    std::string text;
    return std::string(base64.Encode(from.data(), from.size(), text, pad));
  };
  EXPECT_EQ(encode("", true), "");
  EXPECT_EQ(encode("foobar", true), "Zm9vYmFy");
  EXPECT_EQ(encode("fooba", true), "Zm9vYmE=");
  EXPECT_EQ(encode("foob", true), "Zm9vYg==");
  EXPECT_EQ(encode("foob", false), "Zm9vYg");
  EXPECT_EQ(encode("\xFB\xFF\xFE", true), "+//+");
}

TEST(Base64Test, AnythingElseIsRefusedAsAWhole) {
  Base64ObjectImplementation base64;
  using namespace std::string_view_literals;
  for (const std::string_view text :
       {""sv, "="sv, "===="sv, "A"sv, "A==="sv, "Zm9vY==="sv, "Zm9v===="sv, "Zm9v="sv, "Z=9v"sv,
        "=m9v"sv, "Zm9v Zg"sv, "Zm9v\nZm9"sv, "Zm-_"sv, "Zm9\xC3"sv, "Zm\0v"sv}) {
    Bytes data{1, 2, 3};
    EXPECT_EQ(base64.Decode(std::string(text), data), error::kFailed) << text;
    EXPECT_TRUE(data.empty()) << text;
  }
  Bytes data;
  EXPECT_EQ(base64.Decode("Zg=", data), 0U);  // What is missing counts as padding.
  EXPECT_EQ(data, Bytes{'f'});
}

TEST(Base64Test, BufferTakesNoMoreThanItHolds) {
  Base64ObjectImplementation base64;
  EXPECT_EQ(base64.GetDecodedSize(8), 6U);
  EXPECT_EQ(base64.GetDecodedSize(7), 3U);
  uint8_t buffer[] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
  size_t size = 3;
  EXPECT_EQ(base64.Decode("Zm9vYg==", buffer, size), error::kFailed);
  EXPECT_EQ(size, 3U);
  size = 4;
  EXPECT_EQ(base64.Decode("Zm9vYg", buffer, size), 0U);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(std::string_view(reinterpret_cast<char*>(buffer), 5), "foob\xEE");
  size = 5;
  EXPECT_EQ(base64.Decode("", buffer, size), 0U);
  EXPECT_EQ(size, 0U);
}

}  // namespace
