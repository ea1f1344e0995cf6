#pragma once

#include <memory>
#include <string>

#include "host/common/host_intake.h"
#include "host/plugins/connector/event_channel.h"
#include "host/plugins/connector/hub.h"
#include "host/plugins/connector/session_ends.h"
#include "host/plugins/connector/terminal_host_watch.h"
#include "host/plugins/link/connection_loop.h"
#include "host/plugins/link/link_options.h"
#include "host/plugins/settings/settings_watch.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/tsr_settings.h"
#include "module/platform/veld_connector.h"

namespace host {

// "VeldConnector": one connection to the management server, from OpenIntake to Stop, over which
// calls and streams come in. It also tells the server how the feature's switch stands.
//
// Options: those of link::LinkOptions; and "terminalHost", the name of the host process that the
// shells live in where that is not this one. When it ends, all streams are lost.
class VeldConnectorPlugin final : public VeldConnector::IConnector,
                                  public IEventChannel,
                                  public ISessionEnds,
                                  public IHostIntake,
                                  public ISettingsWatch::IObserver,
                                  public IServPlugin {
 public:
  VeldConnectorPlugin();
  virtual ~VeldConnectorPlugin();
  VeldConnectorPlugin(const VeldConnectorPlugin&) = delete;
  VeldConnectorPlugin& operator=(const VeldConnectorPlugin&) = delete;

  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  int32_t Start() override;
  void Stop() override;

  VeldConnector::ISocketManager* CreateSocketManager(
      VeldConnector::ISocketConnection* observer) override;
  void DeleteSocketManager(VeldConnector::ISocketManager* manager) override;

  bool TrySendEvent(const std::string& name, const Json::Value& payload) override;

  bool MayTellEnd(const std::string& id) override;

  void OpenIntake() override;
  void CloseIntake() override;

  void OnStored(const wchar_t* key) override;

 private:
  bool IsEnabled();

  const logging::LogReference log_;
  ServPlugin<ITsrSettings> settings_{L"TsrSettings"};
  ServPlugin<ISettingsWatch> settings_watch_{L"TsrSettings"};
  link::LinkOptions options_;
  std::wstring terminal_host_;
  connector::Hub hub_;
  connector::TerminalHostWatch terminal_host_watch_{[this] { hub_.OnTerminalHostLost(); }};
  std::unique_ptr<link::ConnectionLoop> loop_;
};

}  // namespace host
