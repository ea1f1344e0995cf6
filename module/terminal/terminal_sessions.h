#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "module/feature/remote_access.h"
#include "module/frame/event.h"
#include "module/frame/observers.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/veld_connector.h"
#include "module/telemetry/product_matrix_app.h"
#include "module/terminal/terminal.h"
#include "module/terminal/terminal_events.h"
#include "module/terminal/terminal_messages.h"

namespace orn::RemoteAccess {

using StateObservers = SynchronyzedObjectContainer<IRemoteAccess::IStateEvent*>;

// The open terminals by stream id: opens them, ends them in order from whatever side the end comes,
// and tells the state observers. Only a cleanup deletes a terminal: the one thread that runs for a
// session that asked for its end, or CleanupTerminals. Any thread may call unless said otherwise.
//
// Locks: the terminals mutex, then a terminal's uninit mutex, then its message mutex. The cleanup
// mutex stands by itself. Observers are called with none of them held.
class TerminalSessions final : public ITerminalMessages {
 public:
  // Everything is borrowed. `events` is handed to each terminal and leads back to
  // OnTerminalFinished and OnTerminalResize.
  TerminalSessions(ServPlugin<RemoteTerminal::IRemoteTerminalManager>& manager,
                   TerminalEvents& events, StateObservers& observers,
                   const ProductMatrix::ProductMatrixApp& telemetry)
      : manager_(manager), events_(events), observers_(observers), telemetry_(telemetry) {}
  TerminalSessions(const TerminalSessions&) = delete;
  TerminalSessions& operator=(const TerminalSessions&) = delete;

  // Where streams come from. To be set before sessions are opened. Not owned.
  void SetSocketManager(VeldConnector::ISocketManager* socket_manager) {
    socket_manager_ = socket_manager;
  }
  VeldConnector::ISocketManager* socket_manager() const { return socket_manager_; }

  // Opens a console and joins it to the stream of that id; `inactivity_timeout` in seconds. Returns
  // a Windows code and reports one to telemetry. A stream that does not exist ends the process.
  uint32_t Open(const std::string& stream_id, const TerminalSize& size,
                uint32_t inactivity_timeout);

  bool IsTerminalAvailable(const StringT<char>& id) override;
  // The terminal stays while it sends.
  void SendMessageOverStream(const StringT<char>& id, const std::string& type,
                             const std::string& content) override;
  // Replaces the contents of `sessions`, in the order of the ids.
  void GetActive(List<TerminalSessionState>& sessions);

  // A session asked for its end: it is ended on the cleanup thread, its console with it. Waits for
  // the cleanup before.
  void OnTerminalFinished(const StringT<char>& id);
  // A console is gone, and its session follows in the same way.
  void OnTerminalClosed(const StringT<char>& id);
  void OnTerminalResize(const StringT<char>& id, const TerminalSize& size);

  // Ends all sessions before it returns.
  void CleanupTerminals();
  // Waits for the cleanup thread. No session may ask for its end any more.
  void JoinCleanup();

 private:
  void TerminalCleanup(const StringT<char>& id, bool close_remote);
  void AsyncTerminalCleanup(const StringT<char>& id, bool close_remote);
  void NotifyTerminalSessionStateChanged(const StringT<char>& id, bool is_connected,
                                         int64_t start_timestamp);

  ServPlugin<RemoteTerminal::IRemoteTerminalManager>& manager_;
  TerminalEvents& events_;
  StateObservers& observers_;
  const ProductMatrix::ProductMatrixApp& telemetry_;
  VeldConnector::ISocketManager* socket_manager_ = nullptr;  // Not owned.

  std::mutex terminals_mutex_;
  std::map<StringT<char>, std::unique_ptr<Terminal>, MbsLess> terminals_;

  // A thread that is still joinable at the end ends the process, as it would work on dead members.
  std::thread terminal_cleanup_thread_;
  std::mutex cleanup_mutex_;  // guards that slot; never held together with `terminals_mutex_`
};

}  // namespace orn::RemoteAccess
