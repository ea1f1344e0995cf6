#include "host/plugins/feature_relay/event_keeper.h"

#include <gtest/gtest.h>

#include <string>

namespace host {
namespace {

using namespace std::chrono_literals;
using Texts = EventKeeper<std::string>;

Texts::Delivery Add(char letter) {
  return [letter](std::string& observer) { observer += letter; };
}

TEST(EventKeeperTest, WhatNobodyHeardIsToldInOrderToWhoComesNext) {
  Texts events(Texts::Limits{.kept = 3, .again = 0ms});
  for (const char letter : {'a', 'b', 'c', 'd'})
    events.Tell(Add(letter));
  std::string first;
  EXPECT_EQ(events.Register(&first), 0u);
  EXPECT_EQ(events.Register(&first), 1627u);
  EXPECT_EQ(events.Register(nullptr), 87u);
  events.Tell(Add('e'));
  EXPECT_EQ(first, "bcde") << "beyond the limit the oldest goes";
  std::string second;
  EXPECT_EQ(events.Register(&second), 0u);
  events.Tell(Add('f'));
  EXPECT_EQ(second, "f");
  EXPECT_EQ(events.Unregister(&first), 0u);
  EXPECT_EQ(events.Unregister(&first), 1627u);
  events.Tell(Add('g'));
  EXPECT_EQ(first + "," + second, "bcdef,fg");
}

TEST(EventKeeperTest, TheLastWordsBeforeTheOnlyListenerLeftAreToldAgain) {
  Texts events(Texts::Limits{.kept = 2, .again = 1h});
  std::string lost;
  events.Register(&lost);
  for (const char letter : {'a', 'b', 'c'})
    events.Tell(Add(letter));
  events.Unregister(&lost);
  std::string next;
  events.Register(&next);
  EXPECT_EQ(lost + "," + next, "abc,bc");
}

}  // namespace
}  // namespace host
