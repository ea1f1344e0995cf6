#include <gmock/gmock.h>

#include <filesystem>
#include <future>

#include "host/framework/event_queue.h"
#include "host/plugins/common/fake_host.h"
#include "host/plugins/process_info/process_info_db.h"
#include "module/frame/exported_object.h"
#include "module/jobs/testing/child_roles.h"
#include "module/rpc/comm/remote_access_comm_client_plugin.h"
#include "module/rpc/comm/remote_access_server_plugin.h"
#include "module/rpc/server_factory.h"
#include "tests/processes/raw_peer.h"
#include "tests/processes/service_process.h"
#include "tests/processes/targets.h"

namespace remote_calls {
namespace {

using namespace messaging;
using namespace orn::RemoteAccess;
using ::testing::AnyOf;

constexpr const char* kAccess = "RemoteAccess";
constexpr const char* kTerminals = "RemoteTerminalManager";

rpc::ParameterList Cancelling(const wchar_t* id) {
  rpc::ParameterList input;
  input.AddUtf16(Comm::kCancelDownloadJobId, id);
  return input;
}

// Announces itself as the feature's server and treats each call as it is told to.
CHILD_ROLE(Server) {
  const std::string how = arguments[0];
  RawPeer* peer = nullptr;
  RawPeer server(kAccess, [&](message& call) {
    if (how == "silent") call.add_ref();
    if (how == "empty") call.reply(peer->NewMessage(0).get());
    if (how == "dies") TerminateProcess(GetCurrentProcess(), 77);
  });
  peer = &server;
  server.Announce(rpc::kServer, "rpc_server_odd");
  Print("ready");
  EndWithParent();
}

// Tells of all that it takes and drops, and has one thread.
class NarrowQueue final : public host::EventQueue, public IEventGroup {
 public:
  NarrowQueue() : EventQueue(/*most_threads=*/1) {}

  uint32_t Queue(const wchar_t* name, EqTask** task, EqWorkItem* main, EqWorkItem* cancel,
                 uint32_t a, uint32_t b) override {
    const uint32_t status = EventQueue::Queue(name, task, main, cancel, a, b);
    Print("queued");
    return status;
  }
  void CreateGroup(IEventGroup** group) override {
    EventQueue::CreateGroup(&group_);
    *group = this;
  }
  void DestroyGroup(IEventGroup*) override { EventQueue::DestroyGroup(group_); }

  void Track(EqTask* task) override { group_->Track(task); }
  void Cancel() override {
    group_->Cancel();
    Print("dropped");
  }
  uint32_t Wait(uint32_t timeout) override { return group_->Wait(timeout); }

 private:
  IEventGroup* group_ = nullptr;
};

// The feature's server, until kStop is set.
CHILD_ROLE(NarrowServer) {
  host::FakeHost faces;
  NarrowQueue queue;
  queue.Start(0);
  ExportedObject<IServPlugin> messaging_library;
  messaging_library.Load(L"messaging_tsr.dll", kChannelGateway);
  messaging_library.get()->Init(/*main=*/nullptr);
  ExportedObject<IOrnBaseInterface> target;
  target.Load(L"RemoteCallsTestPlugin.dll", L"RemoteAccess.Fake");
  host::ProcessInfoDb processes;
  faces.Add(kGlobalEventQueue, &queue);
  faces.Add(kChannelGateway, messaging_library.get());
  faces.Add(kProcessInfoDb, static_cast<IServPlugin*>(&processes));
  faces.Add(L"RemoteAccess", target.get());
  rpc::server_factory<RemoteAccessServerPlugin> server;
  const orn::UniqueHandle stop = SharedEvent(kStop);
  Print(server.Init(&faces) == 0 ? "ready" : "failed");
  WaitForSingleObject(stop.get(), INFINITE);
  server.UnInit();
  EndWithParent();
}

CHILD_ROLE(Client) {
  RemoteAccessCommClientPlugin client;
  OperationResponse response;
  Print(std::to_string(client.Init(/*main=*/nullptr)));
  Print(std::to_string(client.StartDownload({}, response)));
  return 0;
}

TEST(RemoteCalls, GiveTheServersStatusWhileItIsThereAndSayWhenItIsNot) {
  ServiceProcess service;
  RemoteAccessCommClientPlugin client;
  OperationResponse response;
  orn::StringT<wchar_t> message;
  ASSERT_EQ(client.Init(/*main=*/nullptr), 0);
  EXPECT_EQ(client.CancelDownload(L"told", message), 0u);
  EXPECT_EQ(message, L"told");

  RawClient raw(kAccess);
  EXPECT_EQ(raw.Call(Comm::kStartDownload), 87) << "no input";
  EXPECT_EQ(raw.Call(99), 632);
  EXPECT_EQ(RawClient(kTerminals).Call(1), 87) << "no id";
  EXPECT_EQ(RawClient(kTerminals).Call(2), 1627) << "no id";
  EXPECT_THAT(raw.Call(Comm::kCancelDownload, Cancelling(L"die")), AnyOf(2250, 1460));
  service.Wait();
  EXPECT_THAT(raw.Call(Comm::kCancelDownload, Cancelling(L"die")), AnyOf(2250, 1460));

  // The end of the service is told on a thread of its own.
  while (client.is_connected(nullptr))
    SwitchToThread();
  EXPECT_EQ(client.StartDownload({}, response), 2250u);
  EXPECT_EQ(client.CancelUpload(L"any", message), 87u) << "as there is no output";

  // The client finds the next one by itself.
  ServiceProcess next;
  EXPECT_TRUE(client.wait_for_connection(60000));
  EXPECT_EQ(client.CancelDownload(L"again", message), 0u);
  client.UnInit();
}

TEST(RemoteCalls, EndWhateverTheServerDoes) {
  const ServiceProcess hub(/*servers=*/false);
  const struct {
    const char* how;
    uint32_t timeout;
    ::testing::Matcher<int32_t> status;
  } servers[] = {{"silent", 300, 1460},
                 {"empty", 0, 5023},
                 {"forgetful", 0, 1460},
                 {"dies", 0, AnyOf(2250, 1460)}};
  for (const auto& [how, timeout, status] : servers) {
    SCOPED_TRACE(how);
    RoleProcess server(std::string("Server ") + how);
    ASSERT_EQ(server.ReadLine(), "ready");
    EXPECT_THAT(RawClient(kAccess).Call(2, {}, timeout), status);
  }
  EXPECT_EQ(RawClient(kAccess, /*first_timeout=*/0).Call(2), 2250) << "all have gone";
}

TEST(RemoteCalls, ThatTheServerDropsUnrunGet1223) {
  const orn::UniqueHandle begun = SharedEvent(kBegun);
  const orn::UniqueHandle go_on = SharedEvent(kGoOn);
  const orn::UniqueHandle stop = SharedEvent(kStop);
  const ServiceProcess hub(/*servers=*/false);
  RoleProcess server("NarrowServer");
  ASSERT_EQ(server.ReadLine(), "ready");
  // Without an entry: the server would be held up by the call that runs where it takes one in.
  RawPeer peer(kAccess);
  peer.Await(rpc::kServer);
  const auto call = [&](const wchar_t* id) {
    const auto message = peer.NewMessage(
        rpc::kMethodCall, {{rpc::kMethodId, Comm::kCancelDownload}}, {{rpc::kClientId, "any"}});
    Cancelling(id).SaveTo(*message);
    return peer.Call(*message);
  };
  std::vector<std::future<int32_t>> calls;
  for (const wchar_t* id : {L"hang", L"late", L"late", L"late"}) {
    calls.push_back(std::async(std::launch::async, call, id));
    EXPECT_EQ(server.ReadLine(), "queued");
  }
  WaitForSingleObject(begun.get(), INFINITE);
  SetEvent(stop.get());
  EXPECT_EQ(server.ReadLine(), "dropped");
  SetEvent(go_on.get());
  EXPECT_EQ(calls[0].get(), 0);
  for (size_t i = 1; i < calls.size(); ++i)
    EXPECT_EQ(calls[i].get(), 1223);
}

TEST(RemoteCalls, AreAnsweredUntilTheServerGoesThoughEverythingHasStopped) {
  const orn::UniqueHandle begun = SharedEvent(kBegun);
  const orn::UniqueHandle go_on = SharedEvent(kGoOn);
  const orn::UniqueHandle hold = SharedEvent(kHold);
  ServiceProcess service;
  RawClient client(kAccess);
  ASSERT_EQ(client.Call(Comm::kGetEnabled), 0);
  SetEvent(hold.get());
  service.AskToStop();
  WaitForSingleObject(begun.get(), INFINITE);
  EXPECT_EQ(client.Call(Comm::kGetEnabled), 0);
  SetEvent(go_on.get());
  EXPECT_EQ(service.Wait(), 0u);
}

TEST(RemoteCalls, WithoutTheLibrariesFailWithoutASend) {
  const auto folder = std::filesystem::temp_directory_path() /
                      (L"remote-calls-" + std::to_wstring(GetCurrentProcessId()));
  std::filesystem::create_directories(folder);
  std::filesystem::copy_file(TestProgram(), folder / L"alone.exe");
  {
    RoleProcess client("Client", /*token=*/nullptr, folder / L"alone.exe");
    EXPECT_EQ(client.ReadLine(), "5002");
    EXPECT_EQ(client.ReadLine(), "1627");
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace remote_calls
