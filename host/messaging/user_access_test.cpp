#include "host/messaging/user_access.h"

#include <aclapi.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "host/messaging/testing/echo_peer.h"
#include "host/messaging/testing/raw_client.h"
#include "module/frame/testing/semaphore.h"

namespace host::channels::testing {
namespace {

using Users = MessagingTest;
using std::chrono::seconds;

constexpr const wchar_t* kUsers = L"TsrComm.Test=1";

messaging::channel_subscriber Entry(const std::string& id,
                                    std::map<std::string, std::string> properties,
                                    const char* channel = kChannel) {
  return {.pid = 0, .channel = channel, .id = id, .properties = std::move(properties)};
}

messaging::channel_subscriber Subscription(const std::string& id, const std::string& number) {
  return Entry(id, {{"rpc_subscriber_type", "0"}, {"rpc_interface_id", number}});
}

TEST(UserRules, AdmitClientsAndTheSubscriptionsThatAreNamedInExactlyThatForm) {
  const auto rules = UserRules::Parse("TsrComm.Test=1,12;Other");
  ASSERT_TRUE(rules);
  EXPECT_TRUE(rules->Admits(Entry("c", {{"rpc_subscriber_type", "1"}, {"rpc_client_id", "c"}})));
  EXPECT_TRUE(rules->Admits(Subscription("s", "12")));
  for (const char* number : {"2", "", "01", " 1", "+1", "1 ", "1,12"})
    EXPECT_FALSE(rules->Admits(Subscription("s", number))) << number;
  for (const char* type : {"2", "02", " 2", "+2", "3", "", "01"})
    EXPECT_FALSE(rules->Admits(Entry("e", {{"rpc_subscriber_type", type}}))) << type;
  EXPECT_FALSE(rules->Admits(Entry("e", {})));
  EXPECT_FALSE(rules->Admits(Entry("e", {{"rpc_subscriber_type", "1"}, {"more", ""}})));
  EXPECT_FALSE(rules->Admits(Entry("e", {{"rpc_subscriber_type", "0"}}, "Other")));
  EXPECT_FALSE(rules->Admits(Entry("e", {{"rpc_subscriber_type", "1"}}, "TsrComm.Tes")));
  EXPECT_TRUE(UserRules::Parse("")->empty());
  for (const char* bad : {"=1", ";", "A=x", "A=1,,2", "A=-1", "A=01", "A=9999999999"})
    EXPECT_FALSE(UserRules::Parse(bad)) << bad;
}

TEST(DoorLimits, LeaveRoomForOtherProcessesAndOtherAccounts) {
  DoorLimits limits;
  Ration::Clock::time_point now{};
  const auto enter = [&](uint32_t pid, const wchar_t* account) {
    return limits.Enter(pid, account, now);
  };
  for (int i = 0; i < DoorLimits::kPerProcess; ++i)
    EXPECT_TRUE(enter(1, L"a"));
  EXPECT_FALSE(enter(1, L"a"));
  for (int i = DoorLimits::kPerProcess; i < DoorLimits::kPerAccount; ++i)
    EXPECT_TRUE(enter(static_cast<uint32_t>(i), L"a"));
  EXPECT_FALSE(enter(100, L"a"));
  EXPECT_TRUE(enter(101, L"b"));
  limits.Leave(1, L"a");
  EXPECT_TRUE(enter(1, L"a"));
  // Who comes and goes is let in only so often, and others all the same.
  int entered = 0;
  for (int i = 0; i < 100; ++i) {
    if (!enter(200, L"c")) continue;
    ++entered;
    limits.Leave(200, L"c");
  }
  EXPECT_EQ(entered, 16);
  EXPECT_TRUE(enter(201, L"d"));
  now += seconds(2);
  EXPECT_TRUE(enter(200, L"c"));
  EXPECT_TRUE(enter(200, L"c"));
  EXPECT_FALSE(enter(200, L"c"));
}

// What the pipe's list grants to whoever is signed in at the machine.
DWORD RightsOfUsers(HANDLE pipe) {
  BYTE users[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof(users);
  CreateWellKnownSid(WinInteractiveSid, nullptr, users, &size);
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  GetSecurityInfo(pipe, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                  nullptr, &descriptor);
  DWORD rights = 0;
  for (DWORD i = 0; list != nullptr && i < list->AceCount; ++i) {
    void* ace = nullptr;
    GetAce(list, i, &ace);
    auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(ace);
    if (EqualSid(&allowed->SidStart, users)) rights |= allowed->Mask;
  }
  LocalFree(descriptor);
  return rights;
}

TEST_F(Users, MayOpenTheirOwnDoorsOnlyAndNotHoldThem) {
  const auto rights = [](Door door) {
    return RightsOfUsers(
        CreatePipeEnd(NodePipeName(1, RandomSuffix()), door, /*first=*/true).get());
  };
  EXPECT_EQ(rights(Door::kAgent), 0u);
  const DWORD of_users = rights(Door::kUsers);
  EXPECT_EQ(of_users & (FILE_READ_DATA | FILE_WRITE_DATA), DWORD{FILE_READ_DATA | FILE_WRITE_DATA});
  EXPECT_EQ(of_users & (FILE_CREATE_PIPE_INSTANCE | WRITE_DAC | WRITE_OWNER | DELETE), 0u);
}

TEST_F(Users, HearOfServersOnlyAndReachThemByTheirOwnDoorOnly) {
  HubProcess hub(L"", kUsers);
  Party administrator;
  administrator.Announce("administrator", "1");
  EchoServer server;
  administrator.AwaitEntry("server");

  RawClient user(HubPipeName(Door::kUsers));
  user.Send(EncodeHello(7) + EncodePresent(kSuffix) +
            EncodeEntry(FrameKind::kAddEntry, Subscription("forbidden", "2")) +
            EncodeEntry(FrameKind::kAddEntry, Entry("forged", {{"rpc_subscriber_type", "2"}})) +
            EncodeEntry(FrameKind::kAddEntry,
                        Entry("user", {{"rpc_subscriber_type", "1"}, {"rpc_client_id", "user"}})));
  administrator.AwaitEntry("user");
  EXPECT_EQ(administrator.TimesAdded("forbidden") + administrator.TimesAdded("forged"), 0);
  RawClient other(HubPipeName(Door::kUsers));
  other.Send(EncodeHello(8) + EncodePresent(kSuffix));
  const auto known = DecodeRemoteEntry(other.Receive().second);
  ASSERT_TRUE(known);
  EXPECT_EQ(known->entry.id, "server");

  const std::wstring door = NodePipeName(known->node.pid, known->pipe_suffix);
  // Only as a client that it has announced: not by the hub's connection with another number.
  for (const uint64_t number : {7, 8}) {
    RawClient caller(door);
    caller.Send(EncodeHello(number) + Request(1, "echo"));
    EXPECT_EQ(caller.Receive().first,
              static_cast<uint8_t>(number == 7 ? FrameKind::kAnswer : FrameKind::kLetGo));
  }
  MessageContent event;
  event.type = 19;
  MessageContent large;
  large.type = 18;
  large.Set("data", messaging::message::kBinary).bytes = std::string(kUserFrameLimit, 'x');
  for (const std::string& forbidden :
       {EncodeDelivery(1, "TsrComm.Other", {18, {}}), EncodeDelivery(0, kChannel, event),
        EncodeDelivery(1, kChannel, large)}) {
    RawClient caller(door);
    caller.Send(EncodeHello(7) + forbidden);
    caller.AwaitEnd();
  }
  EXPECT_EQ(administrator.Ask("echo", "x"), "x");
}

TEST_F(Users, ThatFloodOrHoldAllTheyCanDisturbNobody) {
  HubProcess hub(L"", kUsers);
  Party administrator;
  EchoServer server;
  administrator.AwaitEntry("server");
  std::vector<std::unique_ptr<RawClient>> silent;
  for (int i = 0; i < DoorLimits::kPerProcess; ++i)
    silent.push_back(std::make_unique<RawClient>(HubPipeName(Door::kUsers)));
  {
    RawClient refused(HubPipeName(Door::kUsers));
    refused.AwaitEnd();
  }
  silent.pop_back();
  std::string flood = EncodeHello(7) + EncodePresent(kSuffix);
  for (size_t i = 0; i <= kUserEntries; ++i) {
    flood += EncodeEntry(FrameKind::kAddEntry, Subscription("user" + std::to_string(i), "1"));
  }
  silent.back()->Send(flood);
  silent.back()->AwaitEnd();
  administrator.AwaitNoEntry("user0");
  EXPECT_EQ(administrator.TimesAdded("user" + std::to_string(kUserEntries)), 0);
  EXPECT_EQ(administrator.Ask("echo", "x"), "x");
}

CHILD_ROLE(BeUsers) {
  BecomeUsers();
  Party party;
  Semaphore heard;
  party.Listen(
      [](messaging::message* message, void* user) {
        if (message->get_string("what") == std::string("last")) {
          static_cast<Semaphore*>(user)->Release();
        }
      },
      &heard);
  party.AwaitEntry("server");
  party.Announce("client " + arguments[0], "1");
  party.gateway()->add_subscriber(Subscription(arguments[0], "1"));
  heard.Acquire();
  return party.Ask("sender") == std::to_string(GetCurrentProcessId()) ? 0 : 1;
}

TEST_F(Users, TwoOfThemHearEventsAndCallAtOnce) {
  HubProcess hub(L"", kUsers);
  EchoServer server;
  Child one("BeUsers one");
  Child two("BeUsers two");
  for (const char* id : {"one", "two"})
    EXPECT_EQ(server.party().PostEvent(server.party().AwaitEntry(id), "last"), 0u);
  EXPECT_EQ(one.Await(), 0u);
  EXPECT_EQ(two.Await(), 0u);
  server.party().AwaitNoEntry("one");
}

}  // namespace
}  // namespace host::channels::testing
