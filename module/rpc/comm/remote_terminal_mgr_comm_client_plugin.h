#pragma once

#include "module/rpc/client.h"
#include "module/rpc/client_subscriber.h"
#include "module/rpc/comm/remote_terminal_mgr_wire.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace orn::RemoteTerminal {

// The subscriber's end of the manager's notification. 87 where the event is unknown or has no id.
class RemoteTerminalMgrClientNotifications final
    : public messaging::rpc::client_subscriber<
          IRemoteTerminalManager::IRemoteTerminalManagerNotifications>,
      public RemoteTerminalMgr::Comm::Base {
 public:
  int32_t handle(int32_t method_id, const messaging::rpc::ParameterList& input,
                 messaging::rpc::ParameterList& output) override;
};

}  // namespace orn::RemoteTerminal

template <>
struct messaging::rpc::event_interface<
    orn::RemoteTerminal::IRemoteTerminalManager::IRemoteTerminalManagerNotifications> {
  static constexpr int32_t kNumber = orn::RemoteTerminalMgr::Comm::kNotifications;
  using subscriber = orn::RemoteTerminal::RemoteTerminalMgrClientNotifications;
};

namespace orn::RemoteTerminal {

// The terminal manager in every process but the one that has the shells. Exported as
// "RemoteTerminalManager".
//
// To the codes of the manager come those of the way there: 2250 without a server, 1460 without an
// answer, 5 where the caller is no administrator, 87 where input or output cannot be carried. A
// second registration of a subscriber gives 87 too, and so does one of nobody's end.
//
// Subscribers are called on threads of the event queue, one notification at a time and in order.
class RemoteTerminalMgrCommClientPlugin final
    : public messaging::rpc::client<IRemoteTerminalManager>,
      public RemoteTerminalMgr::Comm::Base {
 public:
  uint32_t OpenTerminal(const StringT<char>& id, const TerminalSize& size,
                        StringT<wchar_t>& coninName, StringT<wchar_t>& conoutName) override;
  // Whether it got there is not told.
  void CloseTerminal(const StringT<char>& id) override;
  uint32_t SetSize(const StringT<char>& id, const TerminalSize& size) override;
  uint32_t Register(IRemoteTerminalManagerNotifications* subscriber) override;
  uint32_t Unregister(IRemoteTerminalManagerNotifications* subscriber) override;
};

}  // namespace orn::RemoteTerminal
