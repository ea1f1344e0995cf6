#pragma once

#include <json/value.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/common/sync.h"
#include "host/plugins/common/task_thread.h"
#include "host/plugins/connector/messages.h"
#include "host/plugins/connector/socket_manager.h"
#include "host/plugins/connector/stream_table.h"
#include "host/plugins/link/connection_user.h"

namespace host::connector {

// What lies between a connection to the server and its users in this process: it hands calls to the
// controllers, messages to the streams, and the connection's ups and downs to the observers.
//
// Threads of its own: one for the calls, one at a time; one for OnConnect and OnDisconnect; one for
// each stream. The thread that brings the server's messages therefore never waits for a user.
class Hub final : public link::IConnectionUser {
 public:
  // `is_enabled` gives the switch as "hello" and "state" tell it. It is called under the hub's
  // mutex.
  Hub(const StreamLimits& limits, std::function<bool()> is_enabled);
  ~Hub();
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  // The connection's side, one thread. Up sends "hello" as the connection's first message; Down
  // returns when the users have been told, so that no session of the next connection meets the end
  // of the last.
  void Up(std::shared_ptr<link::Outbox> outbox) override;
  void OnMessage(const std::string& text) override;
  void Down() override;

  // The users' side. Delete waits for the calls that run in that user; it is not to be called by
  // one.
  VeldConnector::ISocketManager* CreateSocketManager(VeldConnector::ISocketConnection* observer);
  void DeleteSocketManager(VeldConnector::ISocketManager* manager);

  // As ISessionEnds::MayTellEnd.
  bool MayTellEnd(const std::string& id) { return streams_.YieldEnd(id); }

  // The process behind all streams has ended. Waits for nothing.
  void OnTerminalHostLost() { streams_.LoseHosts(); }

  // The switch was stored: tells the server its state. Where it was turned off, the feature goes on
  // to end all sessions, one after the other under one lock. From before that on the streams bring
  // no end of their own and hold nobody in Send; sessions that ask for their end meanwhile would
  // wait for that lock in each other's way. Waits for nothing.
  void OnSwitchStored();
  // False where the event was not taken: not connected, or too much waits already. Waits for
  // nothing.
  bool TrySendEvent(const std::string& name, const Json::Value& payload);

  // No call, message or notification reaches a user any more; returns when the running ones have
  // ended.
  void CloseIntake();

 private:
  struct Handler;

  void QueueCall(RpcMessage call);
  void RunCall(const std::shared_ptr<link::Outbox>& outbox, const RpcMessage& call);
  uint32_t Dispatch(const RpcMessage& call, VeldConnector::Rpc::Reply& reply);
  void Notify(void (VeldConnector::ISocketConnection::*operation)());
  void EndUse(const SocketManager* manager);

  const std::function<bool()> is_enabled_;
  StreamTable streams_;
  TaskThread calls_;
  TaskThread notifier_;

  Mutex mutex_;
  Condition unused_;
  std::vector<std::unique_ptr<SocketManager>> managers_;
  std::vector<const SocketManager*> in_use_;  // by a call or notification that runs
  // Null while there is no connection. Changed by the connection's thread only, which reads it
  // without the mutex.
  std::shared_ptr<link::Outbox> outbox_;
  uint64_t last_event_ = 0;
  bool enabled_ = false;  // as told to the server last
};

}  // namespace host::connector
