#include "host/service/log_session.h"

#include "host/common/file_path.h"
#include "module/frame/error_codes.h"
#include "module/platform/log_dll.h"

namespace host {
namespace {

template <class Function>
Function EntryPoint(HMODULE library, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

}  // namespace

uint32_t LogSession::Start(const std::wstring& configuration_file) {
  const std::wstring path = FolderOf(ProgramPath()) + L"\\log.dll";
  library_ = LoadLibraryExW(path.c_str(), /*reserved=*/nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (library_ == nullptr) return GetLastError();
  const auto init = EntryPoint<logging::LogInitFn>(library_, "LogInit");
  const auto set_file = EntryPoint<logging::LogSetSettingsFileFn>(library_, "LogSetSettingsFile");
  const auto apply = EntryPoint<logging::LogApplySettingsFn>(library_, "LogApplySettings");
  const auto monitor = EntryPoint<logging::LogMonitorSettingsFn>(library_, "LogMonitorSettings");
  if (init == nullptr || set_file == nullptr || apply == nullptr || monitor == nullptr) {
    return error::kUnknownMethod;
  }
  init();
  set_file(configuration_file.c_str());
  if (const uint32_t status = apply(); status != 0) return status;
  reference_.emplace();
  return monitor(/*on=*/1);
}

void LogSession::End() {
  if (library_ == nullptr) return;
  if (const auto end = EntryPoint<logging::LogDeinitFn>(library_, "LogDeinit")) end();
}

}  // namespace host
