#pragma once

#include <json/value.h>

#include <memory>
#include <string>

#include "host/common/sync.h"
#include "host/plugins/common/task_thread.h"
#include "host/plugins/integration/agent_table.h"
#include "host/plugins/integration/event_sender.h"
#include "host/plugins/integration/event_store.h"
#include "host/plugins/integration/policy_calls.h"
#include "host/plugins/link/connection_user.h"

namespace host::integration {

// What lies between the integration connection and the agents of this process: it hands policy
// calls to them, and brings their status and their events to the server.
//
// Threads of its own: eight for the calls, one that asks for the status, one that sends events. The
// thread that brings the server's messages therefore never waits for an agent or for the disk.
class Hub final : public link::IConnectionUser {
 public:
  // `store` is not owned; `instance` is the run of the agent, as "hello" tells it.
  Hub(EventStore& store, std::string instance, const SendWindow& window = {});
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;
  ~Hub() { Stop(); }

  // The connection's side, one thread.
  void Up(std::shared_ptr<link::Outbox> outbox) override;
  void OnMessage(const std::string& text) override;
  void Down() override;

  // The agents' side, as EnterpriseIntegration::IManager.
  bool RegisterAgent(EnterpriseIntegration::IAgent* agent);
  void UnregisterAgent(EnterpriseIntegration::IAgent* agent);
  bool SendEvent(const wchar_t* name, const Json::Value& payload);
  void SendStatus();

  // No call reaches an agent any more; returns when the running ones have ended.
  void CloseIntake();
  // Sends no event from now on. Stopping twice has no effect.
  void Stop();

 private:
  struct Handler;

  void PushStatus();

  EventStore& store_;
  const std::string instance_;
  AgentTable agents_;
  PolicyCalls calls_{agents_};
  EventSender events_;
  TaskThread status_;

  // The connection's thread alone.
  std::shared_ptr<link::Outbox> outbox_;

  Mutex mutex_;
  std::shared_ptr<link::Outbox> welcomed_;  // Null while the server has not said welcome.
};

}  // namespace host::integration
