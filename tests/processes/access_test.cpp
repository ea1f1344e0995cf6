#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <vector>

#include "host/common/file_path.h"
#include "host/plugins/common/fake_host.h"
#include "host/service/low_rights.h"
#include "module/feature/records_json.h"
#include "module/frame/exported_object.h"
#include "module/frame/testing/semaphore.h"
#include "module/jobs/testing/child_roles.h"
#include "module/rpc/comm/json_data.h"
#include "module/rpc/comm/remote_access_comm_client_plugin.h"
#include "tests/processes/raw_peer.h"
#include "tests/processes/service_process.h"
#include "tests/processes/targets.h"

namespace remote_calls {
namespace {

using namespace messaging;
using namespace orn::RemoteAccess;

constexpr const char* kAccess = "RemoteAccess";
constexpr const char* kTerminals = "RemoteTerminalManager";
constexpr int32_t kUnknownMethod = 99;

// What each method gives without any input.
std::string StatusesOfAllMethods() {
  std::string all;
  RawClient access(kAccess);
  for (const int32_t method : {1, 2, 3, 4, 5, 6, 7, 8, kUnknownMethod})
    all += std::to_string(access.Call(method)) + " ";
  RawClient terminals(kTerminals);
  for (const int32_t method : {1, 2, 3, kUnknownMethod})
    all += std::to_string(terminals.Call(method)) + " ";
  return all;
}

// The status of "SetEnabled", without its input, by whom `numbers` and the other arguments claim.
int32_t Claim(RawPeer& peer, const std::string& client, RawPeer::Numbers numbers) {
  const auto message = peer.NewMessage(
      rpc::kMethodCall, numbers, {{rpc::kClientId, client}, {rpc::kImpersonatedPath, "C:\\a.exe"}});
  message->set_int(rpc::kMethodId, Comm::kSetEnabled);
  return peer.Call(*message);
}

void PostForgedEvent(RawPeer& peer) {
  const channel_subscriber other = peer.Await(rpc::kEventSubscriber);
  const auto event = peer.NewMessage(
      rpc::kOneWayEvent,
      {{rpc::kSerialize, 1},
       {rpc::kInterfaceNumber, Comm::kStateEvent},
       {rpc::kMethodId, Comm::kTerminalSessionStateChanged},
       {rpc::kSubscriberPid, other.pid}},
      {{rpc::kSubscriberId, other.id}, {rpc::kClientId, other.properties.at(rpc::kClientId)}});
  TerminalSessionState state;
  state.terminalId = "forged";
  rpc::ParameterList data;
  data.AddBytes(Comm::kSessionState, rpc::ToJsonData(state));
  data.SaveTo(*event);
  peer.Post(*event);
}

// Tries all it can and tells what it got. The arguments are the id and the process id of a client
// with more rights.
CHILD_ROLE(Intruder) {
  const std::string client = arguments[0];
  const int32_t pid = std::stoi(arguments[1]);
  Print(StatusesOfAllMethods());
  RawPeer peer(kAccess);
  peer.Await(rpc::kServer);
  peer.Announce(rpc::kClient, "rpc_client_own");
  const auto claims = [&](const std::string& id) {
    return Claim(peer, id, {{rpc::kImpersonatedPid, pid}, {rpc::kImpersonatedAdmin, 1}});
  };
  Print(std::to_string(claims("rpc_client_own")));
  Print(std::to_string(claims(client)));
  peer.Announce(rpc::kClient, client, pid);
  Print(std::to_string(claims(client)));
  peer.Announce(rpc::kServer, "rpc_server_forged", pid);
  PostForgedEvent(peer);
  Print(std::to_string(claims("rpc_client_own")));
  EndWithParent();
}

struct States final : IRemoteAccess::IStateEvent {
  std::mutex mutex;
  std::vector<std::string> seen;  // Guarded by mutex.
  Semaphore came;

  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override {
    const std::lock_guard lock(mutex);
    seen.emplace_back(state.terminalId.c_str());
    came.Release();
    return 0;
  }
};

TEST(AccessToRemoteCalls, IsByTheRightsThatTheCallersProcessHas) {
  const orn::UniqueHandle begun = SharedEvent(kBegun);
  const ServiceProcess service;
  EXPECT_EQ(StatusesOfAllMethods(), "87 0 0 87 87 87 87 87 632 87 1627 87 632 ");

  RemoteAccessCommClientPlugin client;
  States states;
  ASSERT_EQ(client.Init(/*main=*/nullptr), 0);
  ASSERT_EQ(client.RegisterStateEvent(&states, 0, 0), 0u);
  WaitForSingleObject(begun.get(), INFINITE);
  RawClient other(kAccess);
  ASSERT_EQ(other.Call(Comm::kGetEnabled), 0);

  orn::UniqueHandle token;
  ASSERT_EQ(host::MakeLowToken(token), 0u);
  RoleProcess intruder("Intruder " + other.id() + " " + std::to_string(GetCurrentProcessId()),
                       token.get());
  EXPECT_EQ(intruder.ReadLine(), "5 0 0 5 5 5 5 5 5 5 5 5 5 ");
  EXPECT_EQ(intruder.ReadLine(), "5") << "a claim under its own name";
  EXPECT_EQ(intruder.ReadLine(), "5") << "under another's";
  EXPECT_EQ(intruder.ReadLine(), "5") << "under another's that it has announced";
  EXPECT_EQ(intruder.ReadLine(), "5") << "after a forged server and a forged event";

  uint32_t server = 0;
  EXPECT_TRUE(client.is_connected(&server));
  EXPECT_NE(server, intruder.pid());
  EXPECT_EQ(client.SetEnabled(true), 0u);
  states.came.Acquire();
  EXPECT_EQ(states.seen, std::vector<std::string>{"on"});
  EXPECT_EQ(client.UnregisterStateEvent(&states, 0, 0), 0u);
  client.UnInit();
}

struct Runs final : IRemoteAccess::IProcessOperationsEvent {
  std::atomic<int> seen{0};
  Semaphore came;

  uint32_t OnProcessFinished(const ProcessExecutionMetadata&) override {
    ++seen;
    came.Release();
    return 0;
  }
};

// Of this process: the messaging library that everybody in it shares.
uint32_t ComeByTheUsersDoor(ExportedObject<IServPlugin>& library) {
  const uint32_t status = library.Load(
      (host::FolderOf(host::ProgramPath()) + L"\\messaging_tsr.dll").c_str(), kChannelGateway);
  if (status != 0) return status;
  host::FakeHost host;
  host.SetOption(kChannelGateway, L"door", L"users");
  return static_cast<uint32_t>(library.get()->Init(&host));
}

// Somebody at the machine, who asks for all there is and tells what he got.
CHILD_ROLE(AtTheMachine) {
  ExportedObject<IServPlugin> library;
  if (ComeByTheUsersDoor(library) != 0) return 1;
  RemoteAccessCommClientPlugin client;
  States states;
  Runs runs;
  if (client.Init(/*main=*/nullptr) != 0) return 2;
  client.RegisterProcessOperationsEvent(&runs, 0, 0);
  client.RegisterStateEvent(&states, 0, 0);
  RawClient access(kAccess);
  std::string statuses;
  for (const int32_t method : {1, 2, 3, 4, 5, 6, 7, 8, kUnknownMethod})
    statuses += std::to_string(access.Call(method)) + " ";
  Print(statuses);
  RawClient terminals(kTerminals, /*first_timeout=*/0);
  Print(std::to_string(terminals.Call(1)));
  states.came.Acquire();
  Print(states.seen.front() + " " + std::to_string(runs.seen));
  EndWithParent();
}

TEST(AccessToRemoteCalls, OfWhoeverSitsAtTheMachineEndsAtTheSessionsThatAreOpen) {
  const orn::UniqueHandle begun = SharedEvent(kBegun);
  const ServiceProcess service;
  orn::UniqueHandle token;
  ASSERT_EQ(host::MakeLowToken(token), 0u);
  RoleProcess one("AtTheMachine", token.get());
  EXPECT_EQ(one.ReadLine(), "5 0 0 5 5 5 5 5 5 ");
  WaitForSingleObject(begun.get(), INFINITE);
  ResetEvent(begun.get());
  RoleProcess two("AtTheMachine", token.get());
  EXPECT_EQ(two.ReadLine(), "5 0 0 5 5 5 5 5 5 ");
  WaitForSingleObject(begun.get(), INFINITE);

  RemoteAccessCommClientPlugin administrator;
  Runs runs;
  States states;
  ASSERT_EQ(administrator.Init(/*main=*/nullptr), 0);
  ASSERT_EQ(administrator.RegisterProcessOperationsEvent(&runs, 0, 0), 0u);
  ResetEvent(begun.get());
  ASSERT_EQ(administrator.RegisterStateEvent(&states, 0, 0), 0u);
  WaitForSingleObject(begun.get(), INFINITE);
  EXPECT_EQ(administrator.SetEnabled(true), 0u);
  states.came.Acquire();
  runs.came.Acquire();
  for (RoleProcess* user : {&one, &two}) {
    EXPECT_EQ(user->ReadLine(), std::to_string(2250)) << "the terminals";
    EXPECT_EQ(user->ReadLine(), "on 0");
  }
  administrator.UnregisterProcessOperationsEvent(&runs, 0, 0);
  administrator.UnregisterStateEvent(&states, 0, 0);
  administrator.UnInit();
}

TEST(AccessToRemoteCalls, OfAnAdministratorIsLoweredByAClaimAndNeverRaised) {
  const ServiceProcess service;
  RawPeer peer(kAccess);
  peer.Await(rpc::kServer);
  const auto claim = [&](RawPeer::Numbers numbers) { return Claim(peer, "rpc_client_a", numbers); };
  // 87: the call was let in, and has no input.
  EXPECT_EQ(claim({}), 87);
  EXPECT_EQ(claim({{rpc::kImpersonatedPid, 4}, {rpc::kImpersonatedAdmin, 1}}), 87);
  EXPECT_EQ(claim({{rpc::kImpersonatedPid, 4}, {rpc::kImpersonatedAdmin, 0}}), 5);
  EXPECT_EQ(claim({{rpc::kImpersonatedPid, 4}, {rpc::kImpersonatedAdmin, 2}}), 5);
  EXPECT_EQ(claim({{rpc::kImpersonatedAdmin, 0}}), 87) << "no whole claim";
}

}  // namespace
}  // namespace remote_calls
