#include "host/console/console_process.h"

#include <thread>
#include <utility>
#include <vector>

#include "host/service/report.h"
#include "host/service/search_path.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/path.h"
#include "module/frame/thread_name.h"

namespace host::console {
namespace {

constexpr const wchar_t* kFunction = L"host::console::ConsoleProcess";
constexpr const wchar_t* kLanguageManager = L"LanguageManager";

}  // namespace

ConsoleProcess::ConsoleProcess(const Configuration& configuration, std::wstring language)
    : configuration_(configuration),
      configuration_object_(configuration),
      state_({.history = configuration.history, .language = std::move(language)}) {}

void ConsoleProcess::Run(const std::function<int(IConsoleState&)>& show) {
  const int exit_code = show(state_);
  // Not the user's concern: a remote call may be on its way to a service that is dying.
  std::thread([this, exit_code] {
    orn::SetThreadName(L"StopLimit");
    Sleep(configuration_.stop_limit * 1000);
    End(exit_code);
  }).detach();
  state_.Stop();
  plugins_.Stop();
  End(exit_code);
}

bool ConsoleProcess::Start(bool log) {
  // The user's own folder, whose access is the user's affair.
  orn::PathStringT<260> data(configuration_.data.c_str());
  if (!orn::CreateFolderRecursively(data)) {
    ReportError(DescribeProblem(configuration_.file, 0,
                                L"the data folder \"" + configuration_.data + L"\" cannot be made",
                                GetLastError()));
    return false;
  }
  RestrictSearchPath();
  if (log && configuration_.has_log) {
    if (const uint32_t status = log_.Start(configuration_.file); status != 0) {
      // Nobody is to go unseen because of that.
      ReportError(
          DescribeProblem(configuration_.file, 0, L"log.dll or its file cannot be used", status));
    }
  }
  ORN_LOG(logging::kNotice, kFunction, L"The console begins with %s", configuration_.file.c_str());
  components_.Add(kConfigurationName, &configuration_object_);
  components_.Add(L"Console.Tasks.Manager", &state_.tasks());
  components_.Add(L"Console.MainWindow", &state_.main_window());
  if (!plugins_.Start()) return false;

  IOrnBaseInterface* languages = nullptr;
  if (components_.GetObject(kLanguageManager, ILanguageManagerEx::kInterfaceId,
                            reinterpret_cast<void**>(&languages)) == 0) {
    components_.ReleaseObject(kLanguageManager);
  } else {
    ReportError(L"There is no translation service. Texts are in English.");
    components_.Add(kLanguageManager, &state_.plain_english());
  }
  std::vector<History::IHistoryTranslator*> translators;
  for (IServPlugin* const plugin : plugins_.plugins()) {
    void* const face = plugin->GetInterface(History::IHistoryTranslator::kInterfaceId);
    if (face != nullptr) translators.push_back(static_cast<History::IHistoryTranslator*>(face));
  }
  if (const uint32_t status = state_.Start(*this, providers_, translators); status != 0) {
    ReportError(
        DescribeProblem(configuration_.file, 0, L"plug-in \"RemoteAccess\" is missing", status));
    return false;
  }
  return true;
}

void ConsoleProcess::End(int exit_code) {
  ORN_LOG(logging::kNotice, kFunction, L"The console ends with code %d", exit_code);
  log_.End();
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exit_code));
  for (;;)
    Sleep(INFINITE);
}

}  // namespace host::console
