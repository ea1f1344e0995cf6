#pragma once

#include "module/feature/remote_access.h"
#include "module/rpc/client_subscriber.h"
#include "module/rpc/comm/remote_access_wire.h"

namespace orn::RemoteAccess {

// The observers' ends of the feature's events: each takes the record out of an event and hands it
// to its observer, whose status is the result. 87, and nothing for the observer, where the event is
// unknown or its record is not whole.

class StateEventClientChannel final
    : public messaging::rpc::client_subscriber<IRemoteAccess::IStateEvent>,
      public Comm::Base {
 public:
  int32_t handle(int32_t method_id, const messaging::rpc::ParameterList& input,
                 messaging::rpc::ParameterList& output) override;
};

class FileOperationEventClientChannel final
    : public messaging::rpc::client_subscriber<IRemoteAccess::IFileOperationEvent>,
      public Comm::Base {
 public:
  int32_t handle(int32_t method_id, const messaging::rpc::ParameterList& input,
                 messaging::rpc::ParameterList& output) override;
};

class ProcessOperationClientChannel final
    : public messaging::rpc::client_subscriber<IRemoteAccess::IProcessOperationsEvent>,
      public Comm::Base {
 public:
  int32_t handle(int32_t method_id, const messaging::rpc::ParameterList& input,
                 messaging::rpc::ParameterList& output) override;
};

}  // namespace orn::RemoteAccess

template <>
struct messaging::rpc::event_interface<orn::RemoteAccess::IRemoteAccess::IStateEvent> {
  static constexpr int32_t kNumber = orn::RemoteAccess::Comm::kStateEvent;
  using subscriber = orn::RemoteAccess::StateEventClientChannel;
};

template <>
struct messaging::rpc::event_interface<orn::RemoteAccess::IRemoteAccess::IFileOperationEvent> {
  static constexpr int32_t kNumber = orn::RemoteAccess::Comm::kFileOperationEvent;
  using subscriber = orn::RemoteAccess::FileOperationEventClientChannel;
};

template <>
struct messaging::rpc::event_interface<orn::RemoteAccess::IRemoteAccess::IProcessOperationsEvent> {
  static constexpr int32_t kNumber = orn::RemoteAccess::Comm::kProcessOperationsEvent;
  using subscriber = orn::RemoteAccess::ProcessOperationClientChannel;
};
