#include "module/rpc/comm/remote_terminal_mgr_comm_client_plugin.h"

#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/rpc/comm/remote_terminal_mgr_parameters.h"
#include "module/rpc/parameter_list.h"

namespace orn::RemoteTerminal {

namespace Comm = RemoteTerminalMgr::Comm;
using messaging::rpc::ParameterList;

int32_t RemoteTerminalMgrClientNotifications::handle(int32_t method_id, const ParameterList& input,
                                                     ParameterList&) {
  StringT<char> terminal;
  if (method_id != Comm::kTerminalClosed || !Comm::ReadId(input, terminal))
    return error::kBadParameter;
  target()->OnTerminalClosed(terminal);
  return error::kSuccess;
}

uint32_t RemoteTerminalMgrCommClientPlugin::OpenTerminal(const StringT<char>& id,
                                                         const TerminalSize& size,
                                                         StringT<wchar_t>& coninName,
                                                         StringT<wchar_t>& conoutName) {
  const LogFunctionTrace trace(
      L"orn::RemoteTerminal::RemoteTerminalMgrCommClientPlugin::OpenTerminal");
  ParameterList in;
  ParameterList out;
  if (!Comm::AddId(in, id) || !Comm::AddSize(in, size)) return error::kBadParameter;
  const uint32_t status = send_request(Comm::kOpenTerminal, in, out);
  if (status != error::kSuccess) return status;
  const bool read =
      out.ReadUtf16(Comm::kConinName, coninName) && out.ReadUtf16(Comm::kConoutName, conoutName);
  return read ? error::kSuccess : error::kBadParameter;
}

void RemoteTerminalMgrCommClientPlugin::CloseTerminal(const StringT<char>& id) {
  const LogFunctionTrace trace(
      L"orn::RemoteTerminal::RemoteTerminalMgrCommClientPlugin::CloseTerminal");
  ParameterList in;
  ParameterList out;
  if (Comm::AddId(in, id)) send_request(Comm::kCloseTerminal, in, out);
}

uint32_t RemoteTerminalMgrCommClientPlugin::SetSize(const StringT<char>& id,
                                                    const TerminalSize& size) {
  const LogFunctionTrace trace(L"orn::RemoteTerminal::RemoteTerminalMgrCommClientPlugin::SetSize");
  ParameterList in;
  ParameterList out;
  if (!Comm::AddId(in, id) || !Comm::AddSize(in, size)) return error::kBadParameter;
  return send_request(Comm::kSetSize, in, out);
}

uint32_t RemoteTerminalMgrCommClientPlugin::Register(
    IRemoteTerminalManagerNotifications* subscriber) {
  const bool done = subscriber != nullptr && register_subscriber(subscriber);
  return done ? error::kSuccess : error::kBadParameter;
}

uint32_t RemoteTerminalMgrCommClientPlugin::Unregister(
    IRemoteTerminalManagerNotifications* subscriber) {
  return unregister_subscriber(subscriber) ? error::kSuccess : error::kBadParameter;
}

}  // namespace orn::RemoteTerminal
