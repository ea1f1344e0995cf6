#pragma once

#include <cstdint>
#include <string_view>

#include "module/frame/exported_plugin.h"
#include "module/frame/handle.h"
#include "module/frame/log_reference.h"
#include "module/frame/string.h"
#include "module/platform/service_control.h"

namespace EndpointService {

// Brings up, on demand, the process in which a part of a feature runs with fewer rights:
//
//   class Feature : public FeatureHost {
//     orn::StringT<wchar_t> GetHostName() override { return L"TsrRemoteTerminalService"; }
//   };
//   ...
//   feature.StartHost({.job = &job});
//
// The control object of the host, of "ServiceInstance.Comm.dll", says whether it runs and stops it;
// the process itself is started from here. Not thread-safe: one operation at a time, but for
// OnHostStateChanged. Results are Windows codes, 0 for success.
class FeatureHost : public IControl::IEvents {
 public:
  struct StartParams {
    uint64_t start_value = 0;  // kept, not used further
    // Takes the new process; null, or a null handle, for none.
    const orn::UniqueHandle* job = nullptr;
  };

  FeatureHost() = default;
  FeatureHost(const FeatureHost&) = delete;
  FeatureHost& operator=(const FeatureHost&) = delete;

  // On the control object's thread.
  uint32_t OnHostStateChanged(uint32_t state) override;

  virtual ~FeatureHost() = default;

  // Starts the host unless it runs, and does not wait for it to come up. A failure to load the
  // control object is returned as it is, else the code of the process start.
  virtual uint32_t StartHost(const StartParams& params);
  // `timeout` in milliseconds, 0xFFFFFFFF for no limit. 0 where there is nothing to stop.
  virtual uint32_t StopHost(uint32_t timeout);
  // Waits, in steps of 2500 ms, until the host runs. 5002 before StartHost, 2250 where the host
  // stopped or cannot be watched, 1460 when more than `timeoutMs` was waited.
  virtual uint32_t WaitForConnectionEstablishment(uint32_t timeoutMs);
  // Names the control object and the configuration "NAME.exe.xml".
  virtual orn::StringT<wchar_t> GetHostName() = 0;
  // The executable's file name, beside this module.
  virtual orn::StringT<wchar_t> GetProcessName();

 protected:
  // Where library and executable lie; empty: the library is searched, the executable lies beside
  // this module. Only for deriving classes that keep theirs elsewhere.
  void SetBaseFolder(std::wstring_view folder);

 private:
  uint32_t LoadControl();
  uint32_t StartAsProcess(const StartParams& params);

  logging::LogReference log_;
  uint64_t start_value_ = 0;
  orn::UniqueHandle state_event_;
  ExportedPlugin<IControl, IControl> control_plugin_;
  IControl* control_ = nullptr;  // Not owned; null until the plug-in is loaded.
  uint32_t state_ = 0;           // ordered by `state_event_`
  orn::StringT<wchar_t> base_folder_;
};

}  // namespace EndpointService
