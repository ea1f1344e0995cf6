#pragma once

#include <memory>

#include "host/plugins/persistent_handlers/name_store.h"
#include "module/frame/log_reference.h"
#include "module/frame/plugin_interfaces.h"
#include "module/platform/persistent_handlers.h"

namespace host {

// "Product.PersistentHandlers": carries the names of signals' listeners across a restart.
//
// Option "store": the file, by default `signals\handlers.db` in the data folder. Processes of one
// agent share it.
class PersistentHandlers final : public IServPlugin,
                                 public orn::Signal::detail::IPesistentHandlers,
                                 public orn::Signal::detail::IPersistedNames {
 public:
  PersistentHandlers() = default;
  PersistentHandlers(const PersistentHandlers&) = delete;
  PersistentHandlers& operator=(const PersistentHandlers&) = delete;
  virtual ~PersistentHandlers() = default;

  void* GetInterface(const InterfaceId& id) override;
  // 5002 where the host tells no configuration.
  int32_t Init(IServMain* main) override;
  void UnInit() override { store_.reset(); }
  int32_t Start() override { return 0; }
  void Stop() override {}

  // Any thread, from Init to UnInit. Null texts are ignored.
  void Add(const char* channel, const char* id) override;
  void Remove(const char* channel, const char* id) override;
  void ForEach(const char* channel, void (*each)(const char* id, void* user), void* user) override;

 private:
  const logging::LogReference log_;
  std::unique_ptr<signals::NameStore> store_;
};

}  // namespace host
