#include "module/frame/base64.h"

#include <gtest/gtest.h>

#include "module/frame/error_codes.h"

namespace {

using Bytes = std::vector<uint8_t>;

TEST(Base64Test, EveryLengthSurvivesBothWaysPaddedAndUnpadded) {
  Base64ObjectImplementation base64;
  std::string text;
  Bytes data;
  for (unsigned i = 0; i < 300; ++i) {
    data.push_back(static_cast<uint8_t>(i * 167));
    for (const bool pad : {false, true}) {
      base64.Encode(data, text, pad);
      Bytes decoded;
      EXPECT_EQ(base64.Decode(text, decoded), 0U);
      EXPECT_EQ(decoded, data);
    }
  }
  EXPECT_STREQ(base64.Encode("\xFB\xFF\xFE"
                             "f",
                             4, text, true),
               "+//+Zg==");
}

TEST(Base64Test, AnythingElseIsRefusedAsAWholeAndNothingIsWrittenPastTheBuffer) {
  Base64ObjectImplementation base64;
  using namespace std::string_view_literals;
  for (const std::string_view text : {""sv, "===="sv, "A"sv, "A==="sv, "Zm9vY==="sv, "Zm9v="sv,
                                      "Z=9v"sv, "Zm9v\nZm9"sv, "Zm-_"sv, "Zm9\xC3"sv, "Zm\0v"sv}) {
    Bytes data{1, 2, 3};
    EXPECT_EQ(base64.Decode(std::string(text), data), error::kFailed) << text;
    EXPECT_TRUE(data.empty()) << text;
  }
  char buffer[] = "?????";
  size_t size = 3;
  EXPECT_EQ(base64.Decode("Zm9vYg==", buffer, size), error::kFailed);
  size = 4;
  EXPECT_EQ(base64.Decode("Zm9vYg=", buffer, size), 0U);  // What is missing counts as padding.
  EXPECT_STREQ(buffer, "foob?");
}

}  // namespace
