#include "host/plugins/connector/socket_manager.h"

#include <algorithm>

#include "module/frame/error_codes.h"

namespace host::connector {

uint32_t SocketManager::RegisterController(VeldConnector::Rpc::IController* controller) {
  if (controller == nullptr) return error::kBadParameter;
  std::vector<std::string> modules = controller->GetRpcModules();
  const Lock lock(mutex_);
  const auto known = std::find_if(
      registrations_.begin(), registrations_.end(),
      [controller](const Registration& other) { return other.controller == controller; });
  if (known != registrations_.end()) return error::kAlreadyExists;
  registrations_.push_back({controller, std::move(modules)});
  return error::kSuccess;
}

VeldConnector::Stream::IConnection* SocketManager::GetStream(const std::string& stream_id) {
  return streams_.Claim(stream_id, this);
}

void SocketManager::DestroyStream(VeldConnector::Stream::IConnection* stream) {
  streams_.Destroy(stream);
}

VeldConnector::Rpc::IController* SocketManager::FindController(const std::string& module) {
  const Lock lock(mutex_);
  for (const Registration& registration : registrations_) {
    const auto& modules = registration.modules;
    if (std::find(modules.begin(), modules.end(), module) != modules.end()) {
      return registration.controller;
    }
  }
  return nullptr;
}

}  // namespace host::connector
