#include "module/frame/json_path.h"

#include <gtest/gtest.h>

#include "module/frame/path_string.h"
#include "module/frame/testing/json_text.h"

namespace orn {
namespace {

// What is found at the path, or "-".
std::string Find(const std::string& tree, const char* path) {
  Json::Value root = Parse(tree);
  const Json::Value* const node = FindNode(&root, path, /*create=*/false);
  EXPECT_EQ(Write(root), tree);
  return node == nullptr ? "-" : Write(*node);
}

std::string Create(const std::string& tree, const char* path) {
  Json::Value root = Parse(tree);
  const bool made = SetJson(Json::Value(1), &root, path);
  return Write(root) + (made ? "" : "-");
}

TEST(JsonPathTest, FindsNodesByNameAndIndex) {
  const std::string tree = R"({"":0,"a":{"b":[1,{"c":2},null]},"n":null})";
  EXPECT_EQ(FindNode(nullptr, "a", /*create=*/true), nullptr);
  for (const char* path : {"", static_cast<const char*>(nullptr), "/", "\\"})
    EXPECT_EQ(Find(tree, path), tree);
  for (const char* path : {"a\\b[0]", "/a/b[0]", "\\a/b[0]", "a/b[0x]"})
    EXPECT_EQ(Find(tree, path), "1");
  EXPECT_EQ(Find(tree, "a/b[1]c"), "2");
  EXPECT_EQ(Find("[[5]]", "[0][0]"), "5");
  for (const char* path :
       {"n", "x", "A", "//a", "a//b", "a/b[1]/c", "a/b[2]", "a/b[3]", "a/b[-1]", "a/b[4294967295]",
        "a/b[0", "a[0]", "[0]", "a/b/c", "a/b[0]x", "n/x", "n[0]"})
    EXPECT_EQ(Find(tree, path), "-") << path;
  EXPECT_EQ(Find("[]", "[0]"), "-");
  EXPECT_EQ(Find("5", "a"), "-");
  EXPECT_EQ(Find("null", "/"), "-");
}

TEST(JsonPathTest, WhatIsInTheWayGivesWayToWhatIsMade) {
  EXPECT_EQ(Create("null", "a\\b"), R"({"a":{"b":1}})");
  EXPECT_EQ(Create(R"({"a":"text","b":2})", "a/b[1]"), R"({"a":{"b":[null,1]},"b":2})");
  EXPECT_EQ(Create(R"({"a":{"b":2}})", "a[0]c"), R"({"a":[{"c":1}]})");
  EXPECT_EQ(Create("[7]", ""), "1");
  EXPECT_EQ(Create("[]", "[0]"), "[1]");
  EXPECT_EQ(Create("{}", "a[-1]"), R"({"a":null}-)");
  EXPECT_EQ(Create("{}", "a//b"), R"({"a":null}-)");
  EXPECT_FALSE(SetJson(Json::Value(1), nullptr, ""));
}

template <class T>
std::string Get(const char* json, T old) {
  Json::Value root = Parse(json);
  T target(old);
  const bool found = GetJson(target, &root, "");
  EXPECT_TRUE(found || target == T()) << json;
  Json::Value result;
  EXPECT_TRUE(SetJson(target, &result, "x"));
  return found ? Write(result["x"]) : "-";
}

TEST(JsonPathTest, EachTypeTakesItsOwnAndWhatItMayStandFor) {
  static constexpr struct {
    const char *json, *as_bool, *as_int, *as_uint, *as_int64, *as_text;
  } kRows[] = {
      {"true", "true", "-", "-", "-", "-"},
      {"0", "false", "0", "0", "0", "\"0\""},
      {"1.0", "true", "1", "1", "1", "\"1\""},
      {"1.5", "-", "-", "-", "-", "-"},
      {"-1", "true", "-1", "4294967295", "-1", "\"-1\""},
      {"4294967295", "true", "-1", "4294967295", "4294967295", "\"-1\""},
      {"4294967296", "-", "-", "-", "4294967296", "-"},
      {"-2147483649", "-", "-", "-", "-2147483649", "-"},
      {"18446744073709551615", "-", "-", "-", "-1", "-"},
      {"1e300", "-", "-", "-", "-", "-"},
      {"\"7\"", "-", "-", "-", "-", "\"7\""},
      {"\"\"", "-", "-", "-", "-", "\"\""},
      {"\"a\\u0000\xC3\xBC\"", "-", "-", "-", "-", "\"a\\u0000\\u00fc\""},
      {"[1]", "-", "-", "-", "-", "-"},
      {"{}", "-", "-", "-", "-", "-"},
      {"null", "-", "-", "-", "-", "-"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Get<bool>(row.json, true), row.as_bool) << row.json;
    EXPECT_EQ(Get<int32_t>(row.json, 9), row.as_int) << row.json;
    EXPECT_EQ(Get<uint32_t>(row.json, 9), row.as_uint) << row.json;
    EXPECT_EQ(Get<int64_t>(row.json, 9), row.as_int64) << row.json;
    EXPECT_EQ(Get<StringT<char>>(row.json, "old"), row.as_text) << row.json;
    EXPECT_EQ(Get<PathStringT<260>>(row.json, L"old"), row.as_text) << row.json;
  }
}

}  // namespace
}  // namespace orn
