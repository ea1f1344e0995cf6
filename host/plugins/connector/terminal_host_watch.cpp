#include "host/plugins/connector/terminal_host_watch.h"

#include "module/frame/log.h"

namespace host::connector {

uint32_t TerminalHostWatch::Start(const std::wstring& host) {
  const std::wstring object = L"ServiceControl::" + host + L".exe";
  uint32_t status = control_.Load(L"ServiceInstance.Comm.dll", object.c_str());
  if (status == 0) status = control_.get()->Register(this, /*options=*/0);
  if (status != 0) control_.Unload();
  return status;
}

void TerminalHostWatch::Stop() {
  if (control_.get() == nullptr) return;
  control_.get()->Unregister(this, /*options=*/0);
  control_.Unload();
}

uint32_t TerminalHostWatch::OnHostStateChanged(uint32_t state) {
  if (state != EndpointService::IControl::kStopped) return 0;
  ORN_LOG(logging::kWarning, L"VeldConnector::TerminalHostWatch",
          L"The process of the shells has ended. Their sessions end with it.");
  on_lost_();
  return 0;
}

}  // namespace host::connector
