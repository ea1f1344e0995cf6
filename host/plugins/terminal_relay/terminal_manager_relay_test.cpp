#include "host/plugins/terminal_relay/terminal_manager_relay.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <mutex>

#include "host/plugins/common/fake_host.h"
#include "host/testing/fake_client.h"
#include "module/feature/testing/call_list.h"
#include "module/frame/testing/semaphore.h"

namespace host {
namespace {

using orn::RemoteAccess::CallList;
using orn::RemoteAccess::Calls;
using orn::RemoteTerminal::IRemoteTerminalManager;
using orn::RemoteTerminal::TerminalSize;
using Id = orn::StringT<char>;

// A manager that, as the real one, notifies with the mutex held that its operations take.
class LockingManager final : public IRemoteTerminalManager, public IOrnBaseInterface {
 public:
  void* GetInterface(const InterfaceId& id) override {
    if (id == messaging::rpc::client_handler::kInterfaceId) return worker;
    if (id != IRemoteTerminalManager::kInterfaceId) return nullptr;
    return static_cast<IRemoteTerminalManager*>(this);
  }
  uint32_t OpenTerminal(const Id&, const TerminalSize&, orn::StringT<wchar_t>&,
                        orn::StringT<wchar_t>&) override {
    return on_open ? on_open() : 0;
  }
  void CloseTerminal(const Id& id) override {
    const std::lock_guard lock(mutex_);
    closed = id;
  }
  uint32_t SetSize(const Id&, const TerminalSize&) override { return 1168; }
  uint32_t Register(IRemoteTerminalManagerNotifications* subscriber) override {
    notified_ = subscriber;
    return 0;
  }
  uint32_t Unregister(IRemoteTerminalManagerNotifications*) override { return 0; }
  void End(const char* id) {
    const std::lock_guard lock(mutex_);
    notified_->OnTerminalClosed(id);
  }

  Id closed;
  messaging::rpc::client_handler* worker = nullptr;  // Not owned.
  std::function<uint32_t()> on_open;

 private:
  std::mutex mutex_;
  IRemoteTerminalManagerNotifications* notified_ = nullptr;
};

class Subscriber final : public CallList,
                         public IRemoteTerminalManager::IRemoteTerminalManagerNotifications {
 public:
  void OnTerminalClosed(const Id& id) override {
    if (on_closed) on_closed(id);
    Add(id.c_str());
  }
  std::function<void(const Id&)> on_closed;
};

// A connector where the session "over" has an end already.
class Connector final : public ISessionEnds, public IOrnBaseInterface {
 public:
  void* GetInterface(const InterfaceId& id) override {
    return id == ISessionEnds::kInterfaceId ? static_cast<ISessionEnds*>(this) : nullptr;
  }
  bool MayTellEnd(const std::string& id) override { return id != "over"; }
};

// A worker that comes back whenever it is waited for.
struct Worker final : testing::FakeClient {
  bool wait_for_connection(uint32_t) override {
    Come(1);
    return true;
  }
};

class RelayTest : public ::testing::Test {
 protected:
  RelayTest() {
    host_.Add(L"VeldConnector", &connector_);
    host_.Add(L"RemoteTerminalManager.Target", &manager_);
    EXPECT_EQ(relay_.Init(&host_), 0);
    EXPECT_EQ(relay_.Start(), 0);
  }
  ~RelayTest() override {
    relay_.Stop();
    relay_.UnInit();
  }

  FakeHost host_;
  LockingManager manager_;
  Connector connector_;
  TerminalManagerRelay relay_;
  Subscriber subscriber_;
};

TEST_F(RelayTest, NotifiesInOrderOfSessionsThatEndNotOtherwiseAndMayBeCalledMeanwhile) {
  subscriber_.on_closed = [this](const Id& id) { relay_.CloseTerminal(id); };
  EXPECT_EQ(relay_.Register(&subscriber_), 0u);
  for (const char* const id : {"a", "over", "b", "c"})
    manager_.End(id);
  EXPECT_EQ(subscriber_.WaitFor(3), (Calls{"a", "b", "c"}));
  EXPECT_EQ(manager_.closed, Id("c"));
}

TEST_F(RelayTest, UnregisterWaitsForARunningNotificationAndDropsTheRest) {
  Gate gate;
  std::atomic<bool> left = false;
  subscriber_.on_closed = [&](const Id&) {
    if (left) return;
    gate.Enter();
    left = true;
  };
  EXPECT_EQ(relay_.Register(&subscriber_), 0u);
  manager_.End("a");
  manager_.End("b");
  gate.WaitForEntry();
  auto unregistered = std::async(std::launch::async, [&] {
    EXPECT_EQ(relay_.Unregister(&subscriber_), 0u);
    EXPECT_TRUE(left);
  });
  // It can be registered again once Unregister has taken it out, and waits.
  while (relay_.Register(&subscriber_) != 0)
    std::this_thread::yield();
  gate.Open();
  unregistered.wait();
  manager_.End("c");
  EXPECT_EQ(subscriber_.WaitFor(2), (Calls{"a", "c"}));
}

TEST_F(RelayTest, AShellIsAskedOfTheNextWorkerWhereOneDiesBeforeItsAnswer) {
  Worker worker;
  manager_.worker = &worker;
  TerminalManagerRelay relay;
  ASSERT_EQ(relay.Init(&host_), 0);
  ASSERT_EQ(relay.Start(), 0);
  int deaths = 0;
  manager_.on_open = [&]() -> uint32_t {
    EXPECT_TRUE(worker.is_connected(nullptr));
    if (deaths == 2) return 8;
    worker.Go();
    return ++deaths == 1 ? 1460 : 2250;
  };
  orn::StringT<wchar_t> conin, conout;
  EXPECT_EQ(relay.OpenTerminal("a", {}, conin, conout), 8u);
  EXPECT_EQ(deaths, 2);
  // A worker that lives and gives no answer is not asked twice.
  int calls = 0;
  manager_.on_open = [&]() -> uint32_t { return ++calls == 1 ? 1460 : 0; };
  EXPECT_EQ(relay.OpenTerminal("a", {}, conin, conout), 1460u);
  relay.Stop();
  relay.UnInit();
}

}  // namespace
}  // namespace host
