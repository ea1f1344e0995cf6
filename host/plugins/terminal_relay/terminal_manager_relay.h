#pragma once

#include <deque>
#include <thread>
#include <vector>

#include "host/common/sync.h"
#include "host/plugins/connector/session_ends.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/rpc/client_handler.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace host {

// "RemoteTerminalManager.Relay": stands in front of the terminal manager that has the display name
// "RemoteTerminalManager.Target", be it the one of this process or a client of the worker's, and
// passes its notifications on from a thread of its own. A manager sends them with its mutex held,
// and their receiver may be waiting for a call into the manager: across processes that is no harm,
// within one it would be the end of both.
//
// Where the manager is a client, a shell waits for its worker, which may be on its way back, and is
// asked of the next one where a worker dies before it has answered: its consoles died with it.
//
// Where there is a connector it is asked first: an end that a session's stream has brought already
// is not told again.
class TerminalManagerRelay final
    : public orn::RemoteTerminal::IRemoteTerminalManager,
      public orn::RemoteTerminal::IRemoteTerminalManager::IRemoteTerminalManagerNotifications,
      public IServPlugin,
      private messaging::rpc::notifications {
 public:
  using Subscriber =
      orn::RemoteTerminal::IRemoteTerminalManager::IRemoteTerminalManagerNotifications;
  using Id = orn::StringT<char>;

  TerminalManagerRelay() = default;
  virtual ~TerminalManagerRelay();
  TerminalManagerRelay(const TerminalManagerRelay&) = delete;
  TerminalManagerRelay& operator=(const TerminalManagerRelay&) = delete;

  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  int32_t Start() override;
  void Stop() override;

  // As the manager's, after up to ten seconds for a worker that is away.
  uint32_t OpenTerminal(const Id& id, const orn::RemoteTerminal::TerminalSize& size,
                        orn::StringT<wchar_t>& coninName,
                        orn::StringT<wchar_t>& conoutName) override;
  void CloseTerminal(const Id& id) override;
  uint32_t SetSize(const Id& id, const orn::RemoteTerminal::TerminalSize& size) override;
  uint32_t Register(Subscriber* subscriber) override;
  // Drops what waits for the subscriber, and waits for a notification of it that runs, but for one
  // on the calling thread.
  uint32_t Unregister(Subscriber* subscriber) override;

  // The manager's notification: queued for everybody who is registered now, in order.
  void OnTerminalClosed(const Id& id) override;

 private:
  struct Notification {
    Subscriber* subscriber;
    Id id;
  };

  void Run();
  void on_server_connected(int pid) override;
  void on_server_disconnected(int pid) override;
  uint64_t WorkersGone();
  // Whether a worker has gone since there were `known`, or goes within a moment.
  bool HasGoneSince(uint64_t known);

  const logging::LogReference log_;
  ServPlugin<IRemoteTerminalManager> manager_{L"RemoteTerminalManager.Target"};
  ServPlugin<messaging::rpc::client_handler> client_{L"RemoteTerminalManager.Target"};
  ServPlugin<ISessionEnds> session_ends_{L"VeldConnector"};
  std::thread thread_;

  Mutex mutex_;
  Condition changed_;
  std::vector<Subscriber*> subscribers_;  // Not owned.
  std::deque<Notification> queue_;
  Subscriber* running_ = nullptr;  // who is being notified
  uint64_t workers_gone_ = 0;
  bool stopping_ = false;
};

}  // namespace host
