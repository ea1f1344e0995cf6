// What a process that means harm, or is broken, can do to the others.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/common/security.h"
#include "host/messaging/message_codec.h"
#include "host/messaging/pipe_access.h"
#include "host/messaging/testing/echo_peer.h"
#include "host/messaging/testing/raw_client.h"
#include "host/service/low_rights.h"

namespace host::channels::testing {
namespace {

using HostileProcess = MessagingTest;

// Where the server of this name listens, as the hub tells everybody; and as which node.
RemoteEntry FindServer() {
  RawClient member(HubPipeName());
  member.Send(EncodeHello(1) + EncodePresent(kSuffix));
  for (;;) {
    const auto [kind, payload] = member.Receive();
    if (kind == 0) return {};
    const auto entry = DecodeRemoteEntry(payload);
    if (entry && entry->entry.id == "server") return *entry;
  }
}

TEST_F(HostileProcess, BadBytesEndTheirOwnConnectionOnly) {
  HubProcess hub;
  Party client;
  Child server("Serve");
  client.AwaitEntry("server");
  const RemoteEntry known = FindServer();
  const std::wstring server_pipe = NodePipeName(known.node.pid, known.pipe_suffix);
  ASSERT_EQ(client.Ask("echo", "x"), "x");
  std::string old_version = EncodeHello(1);
  old_version[9] = 0;
  const std::string hello = EncodeHello(1);
  std::string broken_message = Request(1, "echo");
  broken_message[5 + 4] = 127;  // The length of the channel's name.
  const std::string all[] = {
      old_version,
      Request(1, "echo"),  // Without an introduction.
      hello + std::string("\x01\x04\x00\x04", 4),
      hello + std::string(4, '\0'),
      hello + broken_message,
      hello + hello,
      hello + EncodeAnswer(1, {}),
      hello + EncodeNodeGone({1, 1}),
      std::string(100'000, 'x'),
  };
  for (const std::string& bytes : all) {
    for (const std::wstring& name : {server_pipe, HubPipeName()}) {
      RawClient hostile(name);
      hostile.Send(bytes);
      hostile.AwaitEnd();
    }
    EXPECT_EQ(client.Ask("echo", "x"), "x");
  }
  {
    RawClient truncated(server_pipe);
    truncated.Send(hello + Request(1, "echo").substr(0, 20));
    RawClient silent(server_pipe);
    EXPECT_EQ(client.Ask("echo", "x"), "x");
  }
  EXPECT_EQ(client.TimesAdded("server"), 1);
}

TEST_F(HostileProcess, NobodyIsTakenForAnother) {
  HubProcess hub;
  Party client;
  Child server("Serve");
  client.AwaitEntry("server");
  const RemoteEntry known = FindServer();
  // It claims to be the server's own node, and whatever its message says.
  RawClient liar(NodePipeName(known.node.pid, known.pipe_suffix));
  liar.Send(EncodeHello(known.node.number) + Request(7, "sender"));
  const auto [kind, payload] = liar.Receive();
  ASSERT_EQ(kind, static_cast<uint8_t>(FrameKind::kAnswer));
  const auto answer = DecodeAnswer(payload);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->content.Find("data", messaging::message::kBinary)->bytes,
            std::to_string(GetCurrentProcessId()));
  // Nor at the hub, where its going does not make the server go.
  auto impostor = std::make_unique<RawClient>(HubPipeName());
  impostor->Send(EncodeHello(known.node.number) + EncodePresent(kSuffix) +
                 EncodeEntry(FrameKind::kAddEntry, {known.entry.pid, kChannel, "impostor", {}}));
  EXPECT_EQ(client.AwaitEntry("impostor"), static_cast<int32_t>(GetCurrentProcessId()));
  impostor.reset();
  client.AwaitNoEntry("impostor");
  EXPECT_EQ(client.Ask("echo", "x"), "x");
  EXPECT_EQ(client.TimesAdded("server"), 1);
}

CHILD_ROLE(AnnounceServer) {
  Party party;
  party.Announce("forbidden", "2");
  party.Announce("low client", "1");
  party.AwaitEntry("seen");
  return 0;
}

TEST_F(HostileProcess, OnlyAdministratorsServeButWhereTheHubSaysOtherwise) {
  ASSERT_TRUE(IsAdministrator()) << "run the tests as an administrator";
  orn::UniqueHandle rights;
  ASSERT_EQ(MakeLowToken(rights), 0u);
  for (const bool allowed : {false, true}) {
    HubProcess hub(allowed ? L"Other;TsrComm.Test" : L"Other");
    Party watcher;
    Child low("AnnounceServer", rights.get());
    watcher.AwaitEntry("low client");
    EXPECT_EQ(watcher.TimesAdded("forbidden"), allowed ? 1 : 0);
    watcher.Announce("seen", "1");
    EXPECT_EQ(low.Await(), 0u);
    watcher.AwaitNoEntry("low client");
  }
}

CHILD_ROLE(TakeUsersDoor) {
  orn::UniqueFile end = CreatePipeEnd(HubPipeName(Door::kUsers), Door::kUsers, /*first=*/true);
  const orn::UniqueFile more =
      CreatePipeEnd(HubPipeName(Door::kUsers), Door::kUsers, /*first=*/false);
  // To its own user it may well be the hub.
  const orn::UniqueFile other = OpenPipe(HubPipeName(Door::kUsers));
  if (!end || !more || !IsTrustworthyOwner(other.get())) return 1;
  Party party;
  party.Announce("impostor", "1");
  party.AwaitEntry("seen");
  return 0;
}

// Wine lets several processes share a name, so the hub's wait for it cannot be seen here.
TEST_F(HostileProcess, ThatIsFirstAtTheUsersDoorIsBelievedByItsOwnUserAlone) {
  ASSERT_TRUE(IsAdministrator()) << "needs an administrator";
  HubProcess hub;
  Party administrator;
  orn::UniqueHandle rights;
  ASSERT_EQ(MakeLowToken(rights), 0u);
  Child low("TakeUsersDoor", rights.get());
  administrator.AwaitEntry("impostor");
  EXPECT_FALSE(IsTrustworthyOwner(OpenPipe(HubPipeName(Door::kUsers)).get()));
  EXPECT_TRUE(IsTrustworthyOwner(OpenPipe(HubPipeName(Door::kAgent)).get()));
  administrator.Announce("seen", "1");
  EXPECT_EQ(low.Await(), 0u);
}

TEST_F(HostileProcess, ManyThatComeAndGoLeaveNothingBehind) {
  HubProcess hub;
  EchoServer server;
  const auto come_and_go = [](int times) {
    for (int i = 0; i < times; ++i) {
      const RemoteEntry known = FindServer();
      RawClient client(NodePipeName(known.node.pid, known.pipe_suffix));
      client.Send(EncodeHello(1) + Request(1, "echo"));
      EXPECT_EQ(client.Receive().first, static_cast<uint8_t>(FrameKind::kAnswer));
      Party party;
      party.AwaitEntry("server");
    }
  };
  come_and_go(20);
  const size_t before = CountHandles();
  come_and_go(150);
  // A connection or two may still be on its way out.
  EXPECT_LE(CountHandles(), before + 12);
}

}  // namespace
}  // namespace host::channels::testing
