#include <gtest/gtest.h>

#include <condition_variable>
#include <map>
#include <mutex>

#include "host/common/file_path.h"
#include "host/plugins/common/fake_host.h"
#include "host/service/low_rights.h"
#include "module/feature/records_json.h"
#include "module/feature/testing/call_list.h"
#include "module/frame/exported_object.h"
#include "module/jobs/testing/child_roles.h"
#include "module/rpc/comm/json_data.h"
#include "module/rpc/comm/remote_access_comm_client_plugin.h"
#include "module/rpc/testing/hand.h"
#include "tests/processes/service_process.h"
#include "tests/processes/targets.h"

namespace remote_calls {
namespace {

using namespace messaging;
using namespace orn::RemoteAccess;
using messaging::testing::Claim;
using messaging::testing::Hand;
using messaging::testing::raw_client;

constexpr const char* kAccess = "RemoteAccess";
constexpr const char* kTerminals = "RemoteTerminalManager";
constexpr int32_t kUnknownMethod = 99;

// What the first `count` methods and one that is unknown give without any input.
std::string Statuses(const char* module, int32_t count, uint32_t patience = 60000) {
  raw_client client(/*main=*/nullptr, module, patience);
  std::string all;
  for (int32_t method = 1; method <= count; ++method)
    all += std::to_string(client.call(method)) + " ";
  return all + std::to_string(client.call(kUnknownMethod)) + " ";
}

std::string StatusesOfAllMethods() {
  return Statuses(kAccess, 8) + Statuses(kTerminals, 3);
}

// The last entry of each type on a channel.
class Entries final : public channel_observer {
 public:
  // Waits for one.
  channel_subscriber Await(rpc::subscriber_type type) {
    std::unique_lock lock(mutex_);
    came_.wait(lock, [&] { return entries_.contains(type); });
    return entries_[type];
  }

 private:
  void on_new_subscriber(const std::string&, const channel_subscriber& entry) override {
    const std::lock_guard lock(mutex_);
    entries_[rpc::int_property(entry, rpc::kSubscriberType).value_or(-1)] = entry;
    came_.notify_all();
  }
  void on_subscriber_removed(const std::string&, const channel_subscriber&) override {}

  std::mutex mutex_;
  std::condition_variable came_;
  std::map<int32_t, channel_subscriber> entries_;  // Guarded by mutex_.
};

void PostForgedEvent(const Hand& hand, const channel_subscriber& other) {
  const rpc::message_ptr event = hand.Make(rpc::kOneWayEvent);
  event->set_int(rpc::kSerialize, 1);
  event->set_int(rpc::kInterfaceNumber, Comm::kStateEvent);
  event->set_int(rpc::kMethodId, Comm::kTerminalSessionStateChanged);
  event->set_int(rpc::kSubscriberPid, other.pid);
  event->set_string(rpc::kSubscriberId, other.id.c_str());
  event->set_string(rpc::kClientId, other.properties.at(rpc::kClientId).c_str());
  TerminalSessionState state;
  state.terminalId = "forged";
  rpc::ParameterList data;
  data.AddBytes(Comm::kSessionState, rpc::ToJsonData(state));
  data.SaveTo(*event);
  hand.line->post(event.get());
}

// Tries all it can and tells what it got. The arguments are the id and the process id of a client
// with more rights.
CHILD_ROLE(Intruder) {
  const std::string own = "rpc_client_own";
  const int32_t pid = std::stoi(arguments[1]);
  Print(StatusesOfAllMethods());
  rpc::gateway_factory_holder library;
  Hand hand(*library.obtain(/*main=*/nullptr), kAccess, own);
  Entries entries;
  hand.gateway->add_observer(&entries);
  entries.Await(rpc::kServer);
  const auto claim_as = [&](const std::string& id) {
    hand.id = id;
    Print(std::to_string(hand.Call(Comm::kSetEnabled, 1, Claim(1)).value_or(-1)));
  };
  hand.Announce();
  claim_as(own);
  claim_as(arguments[0]);
  hand.Announce(rpc::kClient, pid);
  claim_as(arguments[0]);
  hand.id = "rpc_server_forged";
  hand.Announce(rpc::kServer, pid);
  PostForgedEvent(hand, entries.Await(rpc::kEventSubscriber));
  claim_as(own);
  EndWithParent();
}

// Keeps the names of the sessions that it hears of, and "run" for a run.
struct Observer final : IRemoteAccess::IStateEvent, IRemoteAccess::IProcessOperationsEvent {
  CallList heard;

  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override {
    return heard.Add(state.terminalId.c_str());
  }
  uint32_t OnProcessFinished(const ProcessExecutionMetadata&) override { return heard.Add("run"); }
};

TEST(AccessToRemoteCalls, IsByTheRightsThatTheCallersProcessHas) {
  const orn::UniqueHandle begun = SharedEvent(kBegun);
  const ServiceProcess service;
  EXPECT_EQ(StatusesOfAllMethods(), "87 0 0 87 87 87 87 87 632 87 1627 87 632 ");

  RemoteAccessCommClientPlugin client;
  Observer observer;
  ASSERT_EQ(client.Init(/*main=*/nullptr), 0);
  ASSERT_EQ(client.RegisterStateEvent(&observer, 0, 0), 0u);
  WaitForSingleObject(begun.get(), INFINITE);
  raw_client other(/*main=*/nullptr, kAccess);
  ASSERT_EQ(other.call(Comm::kGetEnabled), 0);

  orn::UniqueHandle token;
  ASSERT_EQ(host::MakeLowToken(token), 0u);
  RoleProcess intruder("Intruder " + other.client_id + " " + std::to_string(GetCurrentProcessId()),
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
  EXPECT_EQ(observer.heard.Take(1), Calls{"on"});
  EXPECT_EQ(client.UnregisterStateEvent(&observer, 0, 0), 0u);
  client.UnInit();
}

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
  Observer observer;
  if (client.Init(/*main=*/nullptr) != 0) return 2;
  client.RegisterProcessOperationsEvent(&observer, 0, 0);
  client.RegisterStateEvent(&observer, 0, 0);
  Print(Statuses(kAccess, 8));
  Print(Statuses(kTerminals, 3, /*patience=*/0));
  Print(observer.heard.Take(1)[0]);
  EndWithParent();
}

TEST(AccessToRemoteCalls, OfWhoeverSitsAtTheMachineEndsAtTheSessionsThatAreOpen) {
  const orn::UniqueHandle begun = SharedEvent(kBegun);
  const ServiceProcess service;
  orn::UniqueHandle token;
  ASSERT_EQ(host::MakeLowToken(token), 0u);
  RoleProcess user("AtTheMachine", token.get());
  EXPECT_EQ(user.ReadLine(), "5 0 0 5 5 5 5 5 5 ");
  WaitForSingleObject(begun.get(), INFINITE);

  RemoteAccessCommClientPlugin administrator;
  Observer observer;
  ASSERT_EQ(administrator.Init(/*main=*/nullptr), 0);
  ASSERT_EQ(administrator.RegisterProcessOperationsEvent(&observer, 0, 0), 0u);
  ResetEvent(begun.get());
  ASSERT_EQ(administrator.RegisterStateEvent(&observer, 0, 0), 0u);
  WaitForSingleObject(begun.get(), INFINITE);
  EXPECT_EQ(administrator.SetEnabled(true), 0u);
  observer.heard.Take(2);
  EXPECT_EQ(user.ReadLine(), "2250 2250 2250 2250 ") << "the terminals";
  EXPECT_EQ(user.ReadLine(), "on") << "no run, of which observers are told first";
  administrator.UnregisterProcessOperationsEvent(&observer, 0, 0);
  administrator.UnregisterStateEvent(&observer, 0, 0);
  administrator.UnInit();
}

}  // namespace
}  // namespace remote_calls
