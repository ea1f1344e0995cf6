#pragma once

#include <map>
#include <mutex>
#include <thread>

#include "module/frame/event.h"
#include "module/frame/log_reference.h"
#include "module/frame/observers.h"
#include "module/frame/plugin_interfaces.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"
#include "module/terminal/host/terminal_instance.h"
#include "module/terminal/host/winpty_library.h"

namespace orn::RemoteTerminal {

// The owner of all consoles of the machine, exported as "RemoteTerminalManager.AL". It tells its
// subscribers of shells that ended by themselves; one that CloseTerminal ended is not told.
//
// Settled rules of its life: after Stop no operation that reaches winpty may come. An instance that
// is in the map at the end is not deleted. A manager in which a shell has ended by itself ends the
// process when it is destroyed, and so does a cleanup whose terminal CloseTerminal has removed
// first.
class RemoteTerminalManager final : public IRemoteTerminalManager,
                                    public RemoteTerminalInstance::TerminalInstanceEvents,
                                    public IServPlugin {
 public:
  RemoteTerminalManager();
  RemoteTerminalManager(const RemoteTerminalManager&) = delete;
  RemoteTerminalManager& operator=(const RemoteTerminalManager&) = delete;
  ~RemoteTerminalManager() = default;

  // IRemoteTerminalManager
  uint32_t OpenTerminal(const StringT<char>& id, const TerminalSize& size,
                        StringT<wchar_t>& coninName, StringT<wchar_t>& conoutName) override;
  void CloseTerminal(const StringT<char>& id) override;
  uint32_t SetSize(const StringT<char>& id, const TerminalSize& size) override;
  uint32_t Register(IRemoteTerminalManagerNotifications* subscriber) override;
  uint32_t Unregister(IRemoteTerminalManagerNotifications* subscriber) override;

  // TerminalInstanceEvents, on the check thread of the shell that ended. Holds no lock; waits for
  // the cleanup before.
  void OnProcessTerminate(const StringT<char>& id) override;

  // IServPlugin
  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  // 5002 where winpty is missing or incomplete.
  int32_t Start() override;
  // Ends all shells; the instances stay in the map.
  void Stop() override;

 private:
  using Notifications = IRemoteTerminalManagerNotifications;
  using TerminalInstance = RemoteTerminalInstance::TerminalInstance;

  // Runs on `cleanup_thread_`, as it joins the check thread that gave the notice.
  void AsyncTerminalCleanup(const StringT<char>& id);

  // The order of the members is the order of their end.
  logging::LogReference log_;
  std::thread cleanup_thread_;  // the one slot; touched on check threads only
  SynchronyzedObjectContainer<Notifications*> subscribers_;
  Event<MemberFunction_1_args<Notifications, void, const StringT<char>&,
                              &Notifications::OnTerminalClosed>>
      terminal_closed_{subscribers_};
  WinptyLibrary winpty_;
  std::mutex terminals_mutex_;  // also held for every operation of an instance
  std::map<StringT<char>, TerminalInstance*, MbsLess> terminals_;  // owning
};

}  // namespace orn::RemoteTerminal
