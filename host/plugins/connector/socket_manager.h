#pragma once

#include <string>
#include <vector>

#include "host/common/sync.h"
#include "host/plugins/connector/stream_table.h"
#include "module/platform/veld_connector.h"

namespace host::connector {

// One user of the connection: its observer, its controllers, its streams. Any thread.
class SocketManager final : public VeldConnector::ISocketManager {
 public:
  SocketManager(VeldConnector::ISocketConnection& observer, StreamTable& streams)
      : observer_(observer), streams_(streams) {}
  ~SocketManager() { streams_.DestroyAllOf(this); }
  SocketManager(const SocketManager&) = delete;
  SocketManager& operator=(const SocketManager&) = delete;

  uint32_t RegisterController(VeldConnector::Rpc::IController* controller) override;
  VeldConnector::Stream::IConnection* GetStream(const std::string& stream_id) override;
  void DestroyStream(VeldConnector::Stream::IConnection* stream) override;

  VeldConnector::ISocketConnection& observer() const { return observer_; }
  // The controller that takes the calls of `module`, matched exactly, or null.
  VeldConnector::Rpc::IController* FindController(const std::string& module);

 private:
  struct Registration {
    VeldConnector::Rpc::IController* controller;  // Not owned.
    std::vector<std::string> modules;
  };

  VeldConnector::ISocketConnection& observer_;
  StreamTable& streams_;

  Mutex mutex_;
  std::vector<Registration> registrations_;
};

}  // namespace host::connector
