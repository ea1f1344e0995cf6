#include "module/rpc/comm/remote_terminal_mgr_server_plugin.h"

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/rpc/comm/remote_terminal_mgr_parameters.h"

namespace orn::RemoteTerminal {

namespace Comm = RemoteTerminalMgr::Comm;

void RemoteTerminalMgrServerSubscriber::OnTerminalClosed(const StringT<char>& terminal) {
  const LogFunctionTrace trace(
      L"orn::RemoteTerminal::RemoteTerminalMgrServerSubscriber::OnTerminalClosed");
  messaging::rpc::ParameterList event;
  Comm::AddId(event, terminal);
  send_event(Comm::kTerminalClosed, event);
}

RemoteTerminalMgrServerPlugin::RemoteTerminalMgrServerPlugin() {
  using This = RemoteTerminalMgrServerPlugin;
  register_method(Comm::kOpenTerminal, &This::OpenTerminal);
  register_method(Comm::kCloseTerminal, &This::CloseTerminal);
  register_method(Comm::kSetSize, &This::SetSize);
  register_callbacks(Comm::kNotifications, &This::AddSubscriber, &This::RemoveSubscriber);
}

int32_t RemoteTerminalMgrServerPlugin::OpenTerminal(const ParameterList& in, ParameterList& out) {
  const LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalMgrServerPlugin::OpenTerminal");
  StringT<char> id;
  TerminalSize size;
  if (!Comm::ReadId(in, id) || !Comm::ReadSize(in, size)) return error::kBadParameter;
  StringT<wchar_t> coninName;
  StringT<wchar_t> conoutName;
  const uint32_t status = (*target)->OpenTerminal(id, size, coninName, conoutName);
  const bool added = out.AddUtf16(Comm::kConinName, coninName.view()) &&
                     out.AddUtf16(Comm::kConoutName, conoutName.view());
  return added ? status : error::kBadParameter;
}

int32_t RemoteTerminalMgrServerPlugin::CloseTerminal(const ParameterList& in, ParameterList&) {
  const LogFunctionTrace trace(
      L"orn::RemoteTerminal::RemoteTerminalMgrServerPlugin::CloseTerminal");
  StringT<char> id;
  if (!Comm::ReadId(in, id)) return error::kFailed;
  (*target)->CloseTerminal(id);
  return error::kSuccess;
}

int32_t RemoteTerminalMgrServerPlugin::SetSize(const ParameterList& in, ParameterList&) {
  const LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalMgrServerPlugin::SetSize");
  StringT<char> id;
  TerminalSize size;
  if (!Comm::ReadId(in, id) || !Comm::ReadSize(in, size)) return error::kBadParameter;
  return (*target)->SetSize(id, size);
}

bool RemoteTerminalMgrServerPlugin::AddSubscriber(Subscriber* subscriber,
                                                  const messaging::channel_subscriber&) {
  return (*target)->Register(subscriber) == error::kSuccess;
}

bool RemoteTerminalMgrServerPlugin::RemoveSubscriber(Subscriber* subscriber,
                                                     const messaging::channel_subscriber&) {
  return (*target)->Unregister(subscriber) == error::kSuccess;
}

}  // namespace orn::RemoteTerminal
