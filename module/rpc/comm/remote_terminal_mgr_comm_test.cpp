#include <string>
#include <vector>

#include "module/feature/testing/call_list.h"
#include "module/rpc/comm/remote_terminal_mgr_comm_client_plugin.h"
#include "module/rpc/comm/remote_terminal_mgr_server_plugin.h"
#include "module/rpc/comm/testing/fake_terminal_manager.h"
#include "module/rpc/testing/hand.h"
#include "module/rpc/testing/two_ends.h"

namespace orn::RemoteTerminal {
namespace {

using messaging::rpc::ParameterList;
using messaging::testing::odd_server;
using messaging::testing::raw_client;
using messaging::testing::two_ends;

template <class Server>
using Ends = two_ends<RemoteTerminalMgrCommClientPlugin, Server, FakeTerminalManager>;
using RemoteTerminalMgrCommTest = Ends<RemoteTerminalMgrServerPlugin>;
using Calls = std::vector<std::string>;

constexpr char kOddId[] = "\xC3\xA4 \xFF\x80\"";

TEST_F(RemoteTerminalMgrCommTest, CallsArriveWholeAndSoDoTheirAnswers) {
  StringT<wchar_t> conin;
  StringT<wchar_t> conout;
  target.conin = L"\\\\.\\pipe\\\u00E4\xD83D";
  target.conout = L"\\\\.\\pipe\\b";
  EXPECT_EQ(client.OpenTerminal(kOddId, {UINT32_MAX, 0}, conin, conout), 0u);
  EXPECT_EQ(conin, target.conin);
  EXPECT_EQ(conout, target.conout);
  EXPECT_EQ(client.SetSize("", {80, 25}), 0u);
  client.CloseTerminal(kOddId);
  EXPECT_EQ(target.calls, (Calls{std::string("open ") + kOddId + " 4294967295x0", "size  80x25",
                                 std::string("close ") + kOddId + " 0x0"}));

  // Empty names too are names: a failed open sends them.
  target.status = 183;
  target.conin = target.conout = L"";
  EXPECT_EQ(client.OpenTerminal("a", {}, conin, conout), 183u);
  EXPECT_EQ(client.SetSize("a", {}), 183u);
  EXPECT_FALSE(conin.empty());
  target.status = 0;
  EXPECT_EQ(client.OpenTerminal("a", {}, conin, conout), 0u);
  EXPECT_TRUE(conin.empty() && conout.empty());
}

TEST_F(RemoteTerminalMgrCommTest, BadInputReachesNobody) {
  raw_client raw(&near_host, "RemoteTerminalManager");
  ParameterList in;
  EXPECT_TRUE(in.AddBytes(0x0102, "a"));
  for (const char* size : {"", "5", R"({"data":{"cols":1}})", R"({"data":{"cols":1,"rows":"x"}})",
                           R"({"data":{"cols":1,"rows":4294967296}})", R"({"cols":1,"rows":2})"}) {
    EXPECT_EQ(raw.call(1, in), 87) << size;
    EXPECT_EQ(raw.call(3, in), 87) << size;
    EXPECT_TRUE(in.AddBytes(0x0202, size));
  }
  EXPECT_TRUE(target.calls.empty());
  EXPECT_EQ(raw.call(2, in), 0);
  EXPECT_EQ(target.calls, Calls{"close a 0x0"});
}

struct Subscriber final : IRemoteTerminalManager::IRemoteTerminalManagerNotifications {
  RemoteAccess::CallList heard;
  void OnTerminalClosed(const StringT<char>& id) override { heard.Add(std::string(id.view())); }
};

TEST_F(RemoteTerminalMgrCommTest, EndsOfShellsAreToldInOrderWhileOneIsSubscribed) {
  Subscriber subscriber;
  EXPECT_EQ(client.Register(&subscriber), 0u);
  EXPECT_EQ(client.Register(&subscriber), 87u);
  EXPECT_EQ(client.Register(nullptr), 87u);
  target.changed.Acquire();
  ASSERT_EQ(target.subscribers.size(), 1u);
  const Calls ids = {"a", kOddId, "", "b"};
  for (const std::string& id : ids)
    target.subscribers[0]->OnTerminalClosed(StringT<char>(std::string_view(id)));
  EXPECT_EQ(subscriber.heard.Take(ids.size()), ids);
  EXPECT_EQ(client.Unregister(&subscriber), 0u);
  EXPECT_EQ(client.Unregister(&subscriber), 87u);
  target.changed.Acquire();
  EXPECT_TRUE(target.subscribers.empty());

  RemoteTerminalMgrClientNotifications channel;
  ParameterList in;
  ParameterList out;
  EXPECT_EQ(channel.handle(1, in, out), 87);
  EXPECT_TRUE(in.AddBytes(0x0102, "a"));
  EXPECT_EQ(channel.handle(2, in, out), 87);
}

using OddServer = odd_server<IRemoteTerminalManager>;
using RemoteTerminalMgrOddServerTest = Ends<OddServer>;

TEST_F(RemoteTerminalMgrOddServerTest, AnOpenWithoutBothNamesIsNone) {
  StringT<wchar_t> conin;
  StringT<wchar_t> conout;
  for (const uint32_t missing : {0x0302, 0x0402}) {
    OddServer::give = [&](ParameterList& out) {
      for (uint32_t id : {0x0302, 0x0402})
        EXPECT_TRUE(id == missing ? out.AddBytes(id, "odd") : out.AddUtf16(id, L"name"));
      return 0;
    };
    EXPECT_EQ(client.OpenTerminal("a", {}, conin, conout), 87u);
  }
}

}  // namespace
}  // namespace orn::RemoteTerminal
