#pragma once

#include <cstdint>

#include "module/rpc/module_name.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

// What both ends of the calls of IRemoteTerminalManager have to agree on.
namespace orn::RemoteTerminalMgr::Comm {

// Marks the classes that carry the interface between processes.
class Base {};

enum Method : int32_t {
  kOpenTerminal = 1,
  kCloseTerminal = 2,
  kSetSize = 3,
};

enum EventInterface : int32_t { kNotifications = 1 };

enum EventMethod : int32_t { kTerminalClosed = 1 };

enum Parameter : uint32_t {
  kId = 0x0102,          // UTF-8
  kSize = 0x0202,        // JSON
  kConinName = 0x0302,   // UTF-16
  kConoutName = 0x0402,  // UTF-16
};

}  // namespace orn::RemoteTerminalMgr::Comm

template <>
inline constexpr const char*
    messaging::rpc::module_name<orn::RemoteTerminal::IRemoteTerminalManager> =
        "RemoteTerminalManager";
