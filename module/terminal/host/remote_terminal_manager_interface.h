#pragma once

#include <cstdint>

#include "module/frame/interface_id.h"
#include "module/frame/string.h"

namespace orn::RemoteTerminal {

// In character cells.
struct TerminalSize {
  uint32_t cols = 0;
  uint32_t rows = 0;
};

// All live consoles of the machine, each under the id that its opener chose. Implemented by the
// manager itself and by its client in other processes. Any thread may call; codes are 0 for
// success. The order of the operations is binary contract.
struct IRemoteTerminalManager {
  static constexpr InterfaceId kInterfaceId =
      ParseInterfaceId("{14741D8F-D20E-4CD8-A875-A4DF70C9EA7E}");
  static constexpr const wchar_t* kTypeName = L"orn::RemoteTerminal::IRemoteTerminalManager";

  // Hears of shells that ended by themselves.
  struct IRemoteTerminalManagerNotifications {
    // The console of `id` is gone already. Called with the manager's mutex held: it must not call
    // back into the manager on the same thread.
    virtual void OnTerminalClosed(const StringT<char>& id) = 0;

   protected:
    ~IRemoteTerminalManagerNotifications() = default;
  };

  // Starts a shell in a console of that size and gives the names of its two pipes: what is written
  // to conin is typed, conout has the output. 183 for an id that is in use; an id whose start
  // failed stays in use until CloseTerminal.
  virtual uint32_t OpenTerminal(const StringT<char>& id, const TerminalSize& size,
                                StringT<wchar_t>& coninName, StringT<wchar_t>& conoutName) = 0;
  // Ends the shell. An unknown id does nothing.
  virtual void CloseTerminal(const StringT<char>& id) = 0;
  // 1168 for an unknown id. The size is passed on unchecked.
  virtual uint32_t SetSize(const StringT<char>& id, const TerminalSize& size) = 0;
  // The subscriber is borrowed until Unregister has returned, after which it is called no more.
  // 1627 where it is registered already, or was not.
  virtual uint32_t Register(IRemoteTerminalManagerNotifications* subscriber) = 0;
  virtual uint32_t Unregister(IRemoteTerminalManagerNotifications* subscriber) = 0;

 protected:
  ~IRemoteTerminalManager() = default;
};

}  // namespace orn::RemoteTerminal
