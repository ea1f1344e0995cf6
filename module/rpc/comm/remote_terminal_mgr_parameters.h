#pragma once

#include "module/rpc/parameter_list.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

// The parameters that calls of IRemoteTerminalManager have in common. False where one cannot be
// added, or is missing or no such thing.
namespace orn::RemoteTerminalMgr::Comm {

bool AddId(messaging::rpc::ParameterList& list, const StringT<char>& id);
bool ReadId(const messaging::rpc::ParameterList& list, StringT<char>& id);

bool AddSize(messaging::rpc::ParameterList& list, const RemoteTerminal::TerminalSize& size);
bool ReadSize(const messaging::rpc::ParameterList& list, RemoteTerminal::TerminalSize& size);

}  // namespace orn::RemoteTerminalMgr::Comm
