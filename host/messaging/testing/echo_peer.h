#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

#include "host/messaging/gateway_factory.h"
#include "module/jobs/testing/child_roles.h"

// What the tests of the messaging library share: an instance of the agent of their own, a hub, and
// a gateway with an observer.
namespace host::channels::testing {

using Child = RoleProcess;

constexpr const char* kChannel = "TsrComm.Test";

// Each test has an instance of its own, so that runs side by side and tests one after the other do
// not meet. Children inherit it.
struct MessagingTest : ::testing::Test {
  MessagingTest();
};

// The factory as the process with the hub has it; its life is the hub's.
class HubProcess {
 public:
  // The options of those names.
  explicit HubProcess(const wchar_t* worker_channels = L"", const wchar_t* users = L"");

 private:
  GatewayFactory factory_;
};

// From now on this process is one of a user's. Before its first Party.
void BecomeUsers();

// A gateway on kChannel that knows the entries there.
class Party : public messaging::channel_observer {
 public:
  Party();
  Party(const Party&) = delete;
  Party& operator=(const Party&) = delete;
  virtual ~Party() { End(); }

  // Announces an entry: type 0 subscriber, 1 client, 2 server. Calls are the last client's.
  void Announce(const std::string& id, const char* type);
  void Withdraw(const std::string& id);
  // Waits until the entry is there, or gone; its process id.
  int32_t AwaitEntry(const std::string& id);
  void AwaitNoEntry(const std::string& id);
  // How often an entry of that id was added.
  int TimesAdded(const std::string& id);
  // Destroys the gateway.
  void End();

  // Sends {what, data} and gives the answer's data; "" for none. The status goes to `*status`.
  std::string Ask(const std::string& what, const std::string& data = {}, uint32_t timeout = 60000,
                  uint32_t* status = nullptr);
  // Posts an event of type 19 to a process.
  uint32_t PostEvent(int32_t pid, const std::string& what);
  void Listen(messaging::receiver::callback function, void* user);

  messaging::channel_gateway* gateway() { return gateway_; }
  messaging::channel* channel() { return channel_; }
  messaging::channel_factory* messages() { return messages_; }

  void on_new_subscriber(const std::string& channel,
                         const messaging::channel_subscriber& entry) override;
  void on_subscriber_removed(const std::string& channel,
                             const messaging::channel_subscriber& entry) override;

 private:
  GatewayFactory factory_;
  messaging::channel_gateway* gateway_;
  messaging::channel_factory* messages_;
  messaging::channel* channel_;
  std::string client_;

  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by mutex_.
  std::multimap<std::string, int32_t> entries_;  // Process ids.
  std::map<std::string, int> added_;
};

// Serves kChannel as "server" with a callback that knows what the request's "what" asks for:
//   echo    answers with the same data
//   sender  answers with the sender's process id
//   hold    keeps the request
//   drop    lets go of it
//   die     ends the process in the middle of the call
//   held    answers with the number of requests that are held
class EchoServer {
 public:
  EchoServer();
  ~EchoServer() { party_.End(); }
  Party& party() { return party_; }
  int held() const { return held_; }
  // The last of those.
  messaging::message& last_held() { return *last_held_; }

 private:
  static void Receive(messaging::message* received, void* user);

  Party party_;
  messaging::message* last_held_ = nullptr;
  std::atomic<int> held_{0};  // Counted up when that is set.
};

}  // namespace host::channels::testing
