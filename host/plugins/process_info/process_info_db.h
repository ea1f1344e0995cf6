#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/process_info_db.h"

namespace host {

// "messaging.process_info_db": who the process with an id is. A record is remembered for as long as
// the process with that id is the same one, told by the time of its creation.
//
// Option "mayImpersonate": file names, parted by ";", of programs in this program's own folder
// whose processes get the `kind` 1, so that what they say of their callers is believed although
// they are no administrators themselves. None by default. Name no program that loads other code at
// the wish of whoever starts it.
class ProcessInfoDb final : public messaging::process_info_raw,
                            public messaging::process_info_shared,
                            public IServPlugin {
 public:
  ProcessInfoDb() = default;
  ProcessInfoDb(const ProcessInfoDb&) = delete;
  ProcessInfoDb& operator=(const ProcessInfoDb&) = delete;
  virtual ~ProcessInfoDb() = default;

  void* GetInterface(const InterfaceId& id) override;
  // A host without a configuration is one without options.
  int32_t Init(IServMain* main) override;
  void UnInit() override;
  int32_t Start() override { return 0; }
  void Stop() override {}

  void get(int32_t pid, messaging::process_record& record) override;
  std::shared_ptr<messaging::process_info> get(int32_t pid) override;

  static constexpr size_t kMostRecords = 256;

 private:
  struct Known {
    uint64_t created = 0;
    uint64_t last_use = 0;
    std::shared_ptr<messaging::process_info> info;
  };

  bool MayImpersonate(const std::wstring& image) const;

  const logging::LogReference log_;
  std::vector<std::wstring> may_impersonate_;  // Full paths; fixed by Init.

  std::mutex mutex_;
  // Guarded by mutex_.
  std::map<int32_t, Known> known_;
  uint64_t uses_ = 0;
};

}  // namespace host
