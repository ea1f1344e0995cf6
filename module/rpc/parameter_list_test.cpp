#include "module/rpc/parameter_list.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "host/messaging/message.h"
#include "module/rpc/message_ptr.h"
#include "module/rpc/wire.h"

namespace messaging::rpc {
namespace {

using std::string_literals::operator""s;

message_ptr NewMessage() {
  return message_ptr::adopt(new host::channels::Message);
}

TEST(ParameterList, ComesBackFromTheMessageThatCarriesIt) {
  ParameterList sent;
  EXPECT_TRUE(sent.AddValue(0x0101, 0xFFFFFFFF));
  EXPECT_TRUE(sent.AddUtf16(0x0302, L"\u00E4\xD83D\xDE00"));
  EXPECT_TRUE(sent.AddBytes(0x0402, {}));
  const message_ptr carrier = NewMessage();
  sent.SaveTo(*carrier);

  ParameterList loaded;
  ASSERT_TRUE(loaded.AddValue(0x0901, 1));
  ASSERT_TRUE(loaded.LoadFrom(*carrier));
  const ParameterList received = std::move(loaded);
  uint32_t value = 0;
  std::string bytes;
  EXPECT_FALSE(received.ReadValue(0x0901, value));  // The old tree has gone.
  EXPECT_TRUE(received.ReadValue(0x0101, value));
  EXPECT_EQ(value, 0xFFFFFFFF);
  EXPECT_TRUE(received.ReadBytes(0x0302, bytes));
  EXPECT_EQ(bytes, "\xE4\x00\x3D\xD8\x00\xDE"s);
  EXPECT_TRUE(received.ReadBytes(0x0402, bytes));
  EXPECT_EQ(bytes, "");
}

TEST(ParameterList, WhatFailsLeavesTheDestination) {
  uint32_t value = 7;
  std::string bytes = "old";
  orn::StringT<wchar_t> text = L"old";
  ParameterList list;
  const auto expect_nothing = [&](uint32_t id) {
    EXPECT_FALSE(list.ReadValue(id, value));
    EXPECT_FALSE(list.ReadUtf16(id, text));
    EXPECT_EQ(value, 7U);
    EXPECT_EQ(text, L"old");
  };
  expect_nothing(1);
  EXPECT_FALSE(list.ReadBytes(1, bytes));
  ASSERT_TRUE(list.AddBytes(2, "odd"));
  expect_nothing(2);
  EXPECT_FALSE(list.ReadBytes(1, bytes));
  EXPECT_EQ(bytes, "old");
}

TEST(ParameterList, EmptyTreeMakesNoFieldAndNoFieldChangesNothing) {
  const message_ptr carrier = NewMessage();
  ParameterList().SaveTo(*carrier);
  EXPECT_FALSE(carrier->has_field(kData, message::kBinary));

  ParameterList list;
  EXPECT_TRUE(list.LoadFrom(*carrier));
  EXPECT_FALSE(list.HasTree());
  ASSERT_TRUE(list.AddValue(1, 5));
  carrier->set_string(kData, "of another type");
  EXPECT_TRUE(list.LoadFrom(*carrier));
  uint32_t value = 0;
  EXPECT_TRUE(list.ReadValue(1, value));
  EXPECT_EQ(value, 5U);

  carrier->set_binary(kData, "nonsense", 8);
  EXPECT_FALSE(list.LoadFrom(*carrier));
  EXPECT_FALSE(list.HasTree());
}

}  // namespace
}  // namespace messaging::rpc
