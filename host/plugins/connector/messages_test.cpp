#include "host/plugins/connector/messages.h"

#include <gtest/gtest.h>

#include "module/frame/json.h"

namespace host::connector {
namespace {

TEST(ServerMessages, AreReadWithEachMemberChecked) {
  const auto rpc = ReadServerMessage(
      R"({"type":"rpc","id":7,"module":"M","method":"F","params":"not \u00e4 json"})");
  ASSERT_TRUE(rpc && std::holds_alternative<RpcMessage>(*rpc));
  EXPECT_EQ(std::get<RpcMessage>(*rpc).id, 7u);
  EXPECT_EQ(std::get<RpcMessage>(*rpc).params, "not \xc3\xa4 json");

  const std::string deep(100'000, '[');
  for (const std::string& text : {
           std::string(),
           std::string("{"),
           std::string("[]"),
           deep,
           std::string(R"({"type":5})"),
           std::string(R"({"type":"rpc","id":-1,"module":"","method":"","params":""})"),
           std::string(R"({"type":"rpc","id":1e300,"module":"","method":"","params":""})"),
           std::string(R"({"type":"streamOpen","stream":""})"),
           std::string(R"({"type":"stream","stream":"s"})"),
           std::string(R"({"type":"streamCredit","stream":"s","bytes":"9"})"),
           R"({"type":"streamClose","stream":")" + std::string(300, 'x') + "\"}",
       }) {
    EXPECT_FALSE(ReadServerMessage(text)) << text.substr(0, 80);
  }
}

TEST(InwardTexts, NeverBringASizeThatTheConsoleCannotBear) {
  const auto cols_of = [](const char* text) {
    const auto inward = ReadInwardText(text);
    if (!inward) return -1;
    Json::Value value;
    EXPECT_TRUE(orn::JsonReader().Parse(inward->text, value));
    EXPECT_EQ(value["resize"]["rows"].asInt(), 24);
    return value["resize"]["cols"].asInt();
  };
  EXPECT_EQ(cols_of(R"({"type":"resize","resize":{"cols":80,"rows":24}})"), 80);
  EXPECT_EQ(cols_of(R"({"type":"resize","resize":{"cols":0,"rows":24}})"), 1);
  EXPECT_EQ(cols_of(R"({"type":"resize","resize":{"cols":-5,"rows":24}})"), 1);
  EXPECT_EQ(cols_of(R"({"type":"resize","resize":{"cols":4294967376,"rows":24}})"), 1000);
  EXPECT_EQ(cols_of(R"({"type":"resize","resize":{"rows":24}})"), -1);
  EXPECT_EQ(cols_of(R"({"type":"resize","resize":{"cols":"80","rows":24}})"), -1);
  EXPECT_EQ(cols_of(R"({"type":"resize","resize":7})"), -1);
  EXPECT_TRUE(ReadInwardText(R"({"type":"streamError"})")->ends_stream);
  EXPECT_FALSE(ReadInwardText(R"({"type":"data","data":0})")->ends_stream);
}

TEST(OpeningParameters, GetASizeThatTheConsoleCanBearAndStayAsTheyAreOtherwise) {
  for (const char* const untouched :
       {R"( {"streamId":"s","size":{"rows":24, "cols":80}} // more)", "no json", "[1]"})
    EXPECT_EQ(WithBoundedSize(untouched), untouched);
  EXPECT_EQ(WithBoundedSize(R"({"size":{"cols":0,"rows":99999}})"),
            R"({"size":{"cols":1,"rows":1000}})");
  // Without a size the console gets its default one.
  EXPECT_EQ(WithBoundedSize(R"({"size":[1,2],"streamId":"s"})"), R"({"streamId":"s"})");
}

}  // namespace
}  // namespace host::connector
