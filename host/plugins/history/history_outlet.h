#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/history/history_reader.h"
#include "module/platform/veld_connector.h"

namespace host::history {

// The management server's view of the history: the module "History" with the method "GetRecords",
// as docs/protocol.md has it. Any thread.
class HistoryOutlet final : public VeldConnector::Rpc::IController,
                            public VeldConnector::ISocketConnection {
 public:
  explicit HistoryOutlet(std::wstring path) : reader_(std::move(path)) {}

  uint32_t OnRpcMethod(const VeldConnector::Rpc::Request& request,
                       VeldConnector::Rpc::Reply& reply) override;
  std::vector<std::string> GetRpcModules() override { return {"History"}; }

  void OnConnect() override {}
  void OnDisconnect() override {}
  void OnReserved() override {}

 private:
  int32_t GetRecords(const std::string& parameters, std::string& text) const;

  const HistoryReader reader_;
};

}  // namespace host::history
