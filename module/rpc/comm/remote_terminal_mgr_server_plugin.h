#pragma once

#include "module/rpc/comm/remote_terminal_mgr_wire.h"
#include "module/rpc/parameter_list.h"
#include "module/rpc/server.h"
#include "module/rpc/server_subscriber.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace orn::RemoteTerminal {

// A client's subscription as the manager sees it: sends the notification on and waits for nobody,
// so it may be told with the manager's mutex held. Any thread.
class RemoteTerminalMgrServerSubscriber final
    : public messaging::rpc::server_subscriber,
      public IRemoteTerminalManager::IRemoteTerminalManagerNotifications,
      public RemoteTerminalMgr::Comm::Base {
 public:
  void OnTerminalClosed(const StringT<char>& terminal) override;
};

// The terminal manager's end of the calls of one client. All are for administrators. Lives in a
// server_factory, which is exported as "RemoteTerminalManager.Server".
class RemoteTerminalMgrServerPlugin final : public messaging::rpc::server<IRemoteTerminalManager>,
                                            public RemoteTerminalMgr::Comm::Base {
 public:
  RemoteTerminalMgrServerPlugin();

 private:
  using ParameterList = messaging::rpc::ParameterList;
  using Subscriber = RemoteTerminalMgrServerSubscriber;

  // To the status of the call comes 87 where input cannot be read or output not be written; only
  // an id that CloseTerminal cannot read gives 1627.
  int32_t OpenTerminal(const ParameterList& in, ParameterList& out);
  int32_t CloseTerminal(const ParameterList& in, ParameterList& out);
  int32_t SetSize(const ParameterList& in, ParameterList& out);

  bool AddSubscriber(Subscriber* subscriber, const messaging::channel_subscriber& entry);
  bool RemoveSubscriber(Subscriber* subscriber, const messaging::channel_subscriber& entry);
};

}  // namespace orn::RemoteTerminal
