#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <utility>

#include "module/frame/testing/semaphore.h"
#include "module/frame/testing/threaded_event_queue.h"
#include "module/platform/process_info_db.h"
#include "module/rpc/client.h"
#include "module/rpc/identity.h"
#include "module/rpc/server_factory.h"
#include "module/rpc/testing/faces_host.h"
#include "module/rpc/testing/memory_messaging.h"

namespace messaging::rpc::testing {

using messaging::testing::faces_host;
using messaging::testing::memory_bus;
using messaging::testing::memory_process;

// All processes alike.
struct one_kind_of_process final : IOrnBaseInterface, process_info_raw {
  std::atomic<bool> admin{true};

  void* GetInterface(const InterfaceId& id) override {
    return id == process_info_raw::kInterfaceId ? static_cast<process_info_raw*>(this) : nullptr;
  }
  void get(int32_t pid, process_record& record) override {
    record = {.pid = pid, .path = "", .admin = admin};
  }
};

// A client in this process and a server in another, both over memory, with `Target` behind the
// server. Connected when the test begins.
template <class Client, class Server, class Target>
struct two_ends : ::testing::Test, notifications {
  Target target;
  one_kind_of_process kind;
  memory_bus bus;
  memory_process& near_end = bus.start(static_cast<int32_t>(rpc::current_process_id()));
  memory_process& far_end = bus.start(1);
  ThreadedEventQueue queue;
  faces_host near_host;
  faces_host far_host;
  Semaphore changed;
  server_factory<Server> server;
  Client client;

  void SetUp() override {
    const std::wstring module = Wide(module_name<typename Server::interface_type>);
    far_host.put(module.c_str(), static_cast<IOrnBaseInterface*>(&target));
    far_host.put(kProcessInfoDb, static_cast<IOrnBaseInterface*>(&kind));
    for (const auto& [host, end] : {std::pair(&near_host, &near_end), {&far_host, &far_end}}) {
      host->put(kChannelGateway, static_cast<channel_gateway_factory*>(end));
      host->put(kGlobalEventQueue, static_cast<IEventQueue*>(&queue));
    }
    client.register_notifications(this);
    ASSERT_EQ(client.Init(&near_host), 0);
    ASSERT_EQ(server.Init(&far_host), 0);
    changed.Acquire();
  }
  void TearDown() override {
    client.UnInit();
    server.UnInit();
  }

  // Returns when the client knows.
  void LoseServer() {
    far_end.disconnect();
    changed.Acquire();
  }

  void on_server_connected(int) override { changed.Release(); }
  void on_server_disconnected(int) override { changed.Release(); }

 private:
  static std::wstring Wide(std::string_view text) { return {text.begin(), text.end()}; }
};

// A client that sends what it is told to.
struct raw_client final : client_base {
  int32_t Init(IServMain* main, const char* module) { return init(main, module); }
  void UnInit() { uninit(); }
  using client_base::send_request;
};

// A server that answers all methods as the test says.
template <class I>
struct odd_server final : server<I> {
  using answer = std::function<int32_t(ParameterList& output)>;
  static inline answer give;

  odd_server() {
    for (int32_t method = 1; method <= 8; ++method)
      this->register_method(method, &odd_server::Answer, /*admin_required=*/false);
  }
  int32_t Answer(const ParameterList&, ParameterList& output) { return give(output); }
};

}  // namespace messaging::rpc::testing
