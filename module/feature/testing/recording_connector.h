#pragma once

#include <map>
#include <string>

#include "module/feature/testing/call_list.h"
#include "module/platform/veld_connector.h"
#include "module/terminal/testing/recording_stream.h"

namespace orn::RemoteAccess {

// A connector and its one socket manager, which makes a stream for every id but "none".
class RecordingConnector final : public VeldConnector::IConnector, VeldConnector::ISocketManager {
 public:
  explicit RecordingConnector(CallList& calls) : calls_(calls) {}

  bool refuses_manager = false;
  uint32_t register_result = 0;
  std::map<std::string, RecordingStream> streams;

  VeldConnector::ISocketManager* CreateSocketManager(VeldConnector::ISocketConnection*) override {
    calls_.Add("create socket manager");
    return refuses_manager ? nullptr : this;
  }
  void DeleteSocketManager(VeldConnector::ISocketManager* manager) override {
    EXPECT_EQ(manager, static_cast<VeldConnector::ISocketManager*>(this));
    calls_.Add("delete socket manager");
  }
  uint32_t RegisterController(VeldConnector::Rpc::IController*) override {
    calls_.Add("register controller");
    return register_result;
  }
  VeldConnector::Stream::IConnection* GetStream(const std::string& id) override {
    return id == "none" ? nullptr : &streams[id];
  }
  void DestroyStream(VeldConnector::Stream::IConnection* stream) override {
    static_cast<RecordingStream*>(stream)->Close();
    calls_.Add("destroy stream");
  }

 private:
  CallList& calls_;
};

}  // namespace orn::RemoteAccess
