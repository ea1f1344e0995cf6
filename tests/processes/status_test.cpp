#include <gmock/gmock.h>

#include "module/frame/testing/test_folder.h"
#include "module/jobs/testing/child_roles.h"
#include "module/rpc/comm/remote_access_comm_client_plugin.h"
#include "module/rpc/testing/hand.h"
#include "tests/processes/service_process.h"
#include "tests/processes/targets.h"

namespace remote_calls {
namespace {

using namespace messaging;
using namespace orn::RemoteAccess;
using messaging::testing::raw_client;
using ::testing::AnyOf;

constexpr const char* kAccess = "RemoteAccess";

rpc::ParameterList Cancelling(const wchar_t* id) {
  rpc::ParameterList input;
  input.AddUtf16(Comm::kCancelDownloadJobId, id);
  return input;
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

  raw_client raw(/*main=*/nullptr, kAccess);
  EXPECT_THAT(raw.call(Comm::kCancelDownload, Cancelling(L"die")), AnyOf(2250, 1460));
  service.Wait();
  EXPECT_THAT(raw.call(Comm::kCancelDownload, Cancelling(L"die")), AnyOf(2250, 1460));

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

TEST(RemoteCalls, AreAnsweredUntilTheServerGoesThoughEverythingHasStopped) {
  const orn::UniqueHandle begun = SharedEvent(kBegun);
  const orn::UniqueHandle go_on = SharedEvent(kGoOn);
  const orn::UniqueHandle hold = SharedEvent(kHold);
  ServiceProcess service;
  raw_client client(/*main=*/nullptr, kAccess);
  ASSERT_EQ(client.call(Comm::kGetEnabled), 0);
  SetEvent(hold.get());
  service.AskToStop();
  WaitForSingleObject(begun.get(), INFINITE);
  EXPECT_EQ(client.call(Comm::kGetEnabled), 0);
  SetEvent(go_on.get());
  EXPECT_EQ(service.Wait(), 0u);
}

TEST(RemoteCalls, WithoutTheLibrariesFailWithoutASend) {
  const TestFolder folder;
  CopyFileW(TestProgram().c_str(), (folder / L"alone.exe").c_str(), /*failIfExists=*/TRUE);
  RoleProcess client("Client", /*token=*/nullptr, folder / L"alone.exe");
  EXPECT_EQ(client.ReadLine(), "5002");
  EXPECT_EQ(client.ReadLine(), "1627");
}

}  // namespace
}  // namespace remote_calls
