#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>

#include "module/feature/remote_access.h"
#include "module/frame/id_hash.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/history.h"

namespace orn::RemoteAccess::Console {

// Leaves a record in the history of the machine when a shell session ends, exported as
// "RemoteAccess.Console.HistoryLogger". A record that the history refuses is lost.
//
// Settled rules: sessions that are open at Stop are recorded as ended then, and are kept: another
// Start and Stop records them anew unless their end is told in between. An end is recorded each
// time that it is told.
class HistoryLogger final : public IServPlugin, public IRemoteAccess::IStateEvent {
 public:
  HistoryLogger() = default;
  HistoryLogger(const HistoryLogger&) = delete;
  HistoryLogger& operator=(const HistoryLogger&) = delete;
  virtual ~HistoryLogger() = default;

  // IServPlugin
  void* GetInterface(const InterfaceId& id) override;
  // 5002 without the feature or the history.
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  // What the feature says to the registration.
  int32_t Start() override;
  void Stop() override;

  // IStateEvent, one call at a time. 0. Holds no lock while the history takes the record.
  uint32_t OnTerminalSessionStateChanged(const TerminalSessionState& state) override;

 private:
  void SendEvent(const TerminalSessionState& state);

  const logging::LogReference log_;
  ServPlugin<IHistory> history_{L"History.Logger"};
  ServPlugin<IRemoteAccess> remote_access_{L"RemoteAccess"};

  std::mutex sessions_lock_;
  // Guarded by sessions_lock_.
  std::unordered_map<StringT<char>, TerminalSessionState, IdHash> active_sessions_;
};

}  // namespace orn::RemoteAccess::Console
