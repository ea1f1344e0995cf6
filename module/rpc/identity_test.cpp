#include "module/rpc/identity.h"

#include <gtest/gtest.h>

#include <regex>
#include <stdexcept>

#include "module/rpc/properties.h"

namespace messaging::rpc {
namespace {

TEST(Identity, IsOfRandomLettersOrOfPlaceAndTime) {
  EXPECT_TRUE(std::regex_match(make_identity(kClientPrefix), std::regex("rpc_client_[a-z]{32}")));
  EXPECT_NE(make_identity(kClientPrefix), make_identity(kClientPrefix));

  const auto broken = []() -> uint32_t { throw std::runtime_error("no device"); };
  const std::string fallback = make_identity(kServerPrefix, broken);
  const std::string pid = std::to_string(current_process_id());
  EXPECT_TRUE(std::regex_match(fallback, std::regex("rpc_server_\\d+\\.\\d+\\." + pid + "\\.\\d+")))
      << fallback;
  EXPECT_NE(make_identity(kServerPrefix, broken), fallback);
}

TEST(IntProperty, CountsAsMissingUnlessItIsANumberWhole) {
  const auto read = [](const char* text) {
    channel_subscriber entry;
    entry.properties["number"] = text;
    return int_property(entry, "number");
  };
  EXPECT_EQ(read("2"), 2);
  EXPECT_EQ(read("-2147483648"), INT32_MIN);
  for (const char* text : {"", "two", "2x", "2 ", "0x2", "2.0", "2147483648"})
    EXPECT_EQ(read(text), std::nullopt) << text;
  EXPECT_EQ(int_property({}, "number"), std::nullopt);
}

}  // namespace
}  // namespace messaging::rpc
