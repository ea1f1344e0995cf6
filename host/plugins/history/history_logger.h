#pragma once

#include <memory>
#include <string>

#include "host/history/history_store.h"
#include "host/plugins/history/history_outlet.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/serv_plugin.h"
#include "module/platform/history.h"
#include "module/platform/veld_connector.h"

namespace host {

// "History.Logger": the machine's history in a file of its own, which everybody at the machine may
// read and the agent alone writes. Where there is a "VeldConnector", the management server can ask
// for records, too (history_outlet.h).
//
// Option "path": the file, "<data folder>\history\history.db" without it. Its folder is made with
// full access for administrators, as which the system's services count, and read access for users;
// one that is there gets that access unless it has one of its own.
//
// A file that cannot be opened does not keep the agent from its work: each record tries again.
class HistoryLogger final : public IHistory, public IServPlugin {
 public:
  HistoryLogger() = default;
  virtual ~HistoryLogger() = default;
  HistoryLogger(const HistoryLogger&) = delete;
  HistoryLogger& operator=(const HistoryLogger&) = delete;

  void* GetInterface(const InterfaceId& id) override;
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  int32_t Start() override;
  void Stop() override;

  // As HistoryStore::Add. Records are taken between Start and Stop.
  uint32_t Add(const Event::Data* data, const wchar_t* feature) override;

 private:
  const logging::LogReference log_;
  ServPlugin<VeldConnector::IConnector> connector_{L"VeldConnector"};
  std::wstring path_;
  std::unique_ptr<history::HistoryStore> store_;  // From Init on.
  std::unique_ptr<history::HistoryOutlet> outlet_;
  VeldConnector::ISocketManager* sockets_ = nullptr;  // The connector's. From Start to Stop.
};

}  // namespace host
