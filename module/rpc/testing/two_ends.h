#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "host/framework/event_queue.h"
#include "host/plugins/common/fake_host.h"
#include "module/frame/testing/semaphore.h"
#include "module/frame/utf.h"
#include "module/platform/process_info_db.h"
#include "module/rpc/client.h"
#include "module/rpc/identity.h"
#include "module/rpc/server_factory.h"
#include "module/rpc/testing/memory_messaging.h"

namespace messaging::testing {

// What is known of processes; who is not known is a guest.
struct known_processes final : IOrnBaseInterface, process_info_raw, process_info_shared {
  bool has_shared = true;
  std::map<int32_t, process_info> known;

  void* GetInterface(const InterfaceId& id) override {
    if (id == IOrnBaseInterface::kInterfaceId) return static_cast<IOrnBaseInterface*>(this);
    if (id == process_info_raw::kInterfaceId) return static_cast<process_info_raw*>(this);
    const bool is_shared = has_shared && id == process_info_shared::kInterfaceId;
    return is_shared ? static_cast<process_info_shared*>(this) : nullptr;
  }
  void get(int32_t pid, process_record& record) override {
    record = {.pid = pid, .path = known[pid].path, .admin = known[pid].admin};
  }
  std::shared_ptr<process_info> get(int32_t pid) override {
    return std::make_shared<process_info>(known[pid]);
  }
};

// A client in this process, an administrator's, and a server in another, both over memory and one
// queue service, with `Target` behind the server.
template <class Client, class Server, class Target>
struct two_ends : ::testing::Test, rpc::notifications {
  static constexpr int32_t kFarPid = 1;
  const int32_t near_pid = static_cast<int32_t>(rpc::current_process_id());

  Target target;
  known_processes processes;
  memory_bus bus;
  memory_process& near_end = bus.start(near_pid);
  memory_process& far_end = bus.start(kFarPid);
  host::EventQueue queue;
  host::FakeHost near_host;
  host::FakeHost far_host;
  Semaphore came, went;  // The server, as the client is told.
  rpc::server_factory<Server> server;
  Client client;

  two_ends() {
    queue.Start(0);
    processes.known[near_pid] = {.pid = near_pid, .path = "own", .admin = true, .kind = 0};
    const auto name = orn::ToWide(rpc::module_name<typename Server::interface_type>);
    far_host.Add(name.c_str(), &target);
    far_host.Add(kProcessInfoDb, &processes);
    furnish(near_host, near_end);
    furnish(far_host, far_end);
    client.register_notifications(this);
  }
  void furnish(host::FakeHost& host, memory_process& process) {
    host.Add(kChannelGateway, &process);
    host.Add(kGlobalEventQueue, &queue);
  }

  // Connected when the test begins.
  void SetUp() override {
    ASSERT_EQ(client.Init(&near_host), 0);
    StartServer();
  }
  void TearDown() override {
    client.UnInit();
    server.UnInit();
    EXPECT_EQ(near_host.references() + far_host.references(), 0);
  }

  // Both return when the client knows.
  void StartServer() {
    ASSERT_EQ(server.Init(&far_host), 0);
    came.Acquire();
  }
  void StopServer() {
    server.UnInit();
    went.Acquire();
  }

  void on_server_connected(int pid) override {
    EXPECT_EQ(pid, kFarPid);
    came.Release();
  }
  void on_server_disconnected(int) override { went.Release(); }
};

// A server that answers all methods as the test says.
template <class I>
struct odd_server final : rpc::server<I> {
  static inline std::function<int32_t(rpc::ParameterList& output)> give;

  odd_server() {
    for (int32_t method = 1; method <= 8; ++method)
      this->register_method(method, &odd_server::Answer, /*admin_required=*/false);
  }
  int32_t Answer(const rpc::ParameterList&, rpc::ParameterList& output) { return give(output); }
};

}  // namespace messaging::testing
