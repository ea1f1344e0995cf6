#include "host/service/host_process.h"

#include <algorithm>
#include <ranges>
#include <string>
#include <thread>

#include "host/service/data_folder.h"
#include "host/service/report.h"
#include "host/service/search_path.h"
#include "host/service/stop_signal.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"
#include "module/frame/thread_name.h"

namespace host {
namespace {

constexpr const wchar_t* kFunction = L"host::HostProcess";

// "file.xml(12): what happened: 5 (Access denied)". A line of 0 is left out.
std::wstring Problem(const std::wstring& file, int line, const std::wstring& what, uint32_t code) {
  std::wstring text = file;
  if (line > 0) text += L'(' + std::to_wstring(line) + L')';
  return text + L": " + what + L": " + DescribeCode(code);
}

}  // namespace

void HostProcess::Run() {
  if (!Prepare()) End(1);
  const bool started = StartPlugins();
  if (started) {
    ReportProgress(L"Host " + configuration_.name + L" is running");
    if (watcher_ != nullptr) watcher_->OnRunning();
    WaitForStop();
    ReportProgress(L"Host " + configuration_.name + L" stops");
  }
  if (watcher_ != nullptr) watcher_->OnStopping();
  StopPlugins();
  // Last, so that they still get what the plug-ins' stops bring about.
  supervision_.Stop();
  End(started ? 0 : 1);
}

bool HostProcess::Prepare() {
  const auto fail = [&](const std::wstring& what, uint32_t code) {
    ReportError(Problem(configuration_.file, 0, what, code));
    return false;
  };
  // With low rights the process that started this one has made the folder.
  if (!configuration_.low_rights) {
    if (const uint32_t status = PrepareDataFolder(configuration_); status != 0) {
      return fail(L"the data folder \"" + configuration_.data + L"\" cannot be used", status);
    }
  }
  // Before the log is opened, which a second one would share.
  if (!DeclareHosts()) return false;
  RestrictSearchPath();
  if (configuration_.has_log) {
    if (const uint32_t status = log_.Start(configuration_.file); status != 0) {
      return fail(L"log.dll or its file cannot be used", status);
    }
  }
  ORN_LOG(logging::kNotice, kFunction, L"Host %s begins with %s", configuration_.name.c_str(),
          configuration_.file.c_str());
  components_.Add(kConfigurationName, &configuration_object_);
  return true;
}

bool HostProcess::DeclareHosts() {
  for (const std::wstring& name : configuration_.declared) {
    auto host = std::make_unique<HostPresence>();
    uint32_t status = host->Open(name);
    if (status == 0) status = host->Declare();
    if (status == error::kAlreadyExists) {
      ReportError(
          Problem(configuration_.file, 0, L"host \"" + name + L"\" is running already", status));
      return false;
    }
    if (status != 0) {
      ReportError(
          Problem(configuration_.file, 0, L"host \"" + name + L"\" cannot be declared", status));
      return false;
    }
    hosts_.push_back(std::move(host));
  }
  return true;
}

bool HostProcess::StartPlugins() {
  for (const PluginEntry& entry : configuration_.plugins) {
    auto plugin = std::make_unique<Plugin>();
    plugin->entry = &entry;
    if (!StartPlugin(*plugin)) {
      // It stays loaded: a thread of its own may still be about.
      static_cast<void>(plugin.release());
      return false;
    }
    plugins_.push_back(std::move(plugin));
    Step();
  }
  if (const uint32_t status = supervision_.Start(configuration_.processes); status != 0) {
    ReportError(Problem(configuration_.file, 0, L"no job object for the other processes", status));
    return false;
  }
  intakes_open_ = true;
  for (const auto& plugin : plugins_) {
    if (plugin->intake != nullptr) plugin->intake->OpenIntake();
  }
  return true;
}

bool HostProcess::StartPlugin(Plugin& plugin) {
  const PluginEntry& entry = *plugin.entry;
  const auto fail = [&](const std::wstring& what, uint32_t code) {
    ReportError(Problem(configuration_.file, entry.line,
                        L"plug-in \"" + entry.name + L"\": " + what, code));
    return false;
  };
  ORN_LOG(logging::kInformation, kFunction, L"Plug-in \"%s\" starts", entry.name.c_str());
  // A library that lacks another one is an error line here and no dialogue box.
  DWORD error_mode = 0;
  SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &error_mode);
  const uint32_t loaded = plugin.object.Load(entry.library.c_str(), entry.object.c_str());
  SetThreadErrorMode(error_mode, nullptr);
  if (loaded == error::kNotFound || loaded == error::kUnknownMethod) {
    return fail(L"library \"" + entry.library + L"\" offers no plug-in \"" + entry.object + L"\"",
                loaded);
  }
  if (loaded != 0) return fail(L"library \"" + entry.library + L"\" cannot be loaded", loaded);

  IServPlugin& object = *plugin.object.get();
  if (const int32_t status = object.Init(this); status != 0) {
    return fail(L"Init failed", static_cast<uint32_t>(status));
  }
  if (const int32_t status = object.Start(); status != 0) {
    object.UnInit();
    return fail(L"Start failed", static_cast<uint32_t>(status));
  }
  plugin.intake = static_cast<IHostIntake*>(object.GetInterface(IHostIntake::kInterfaceId));
  // Nobody gets a plug-in that has not started.
  components_.Add(entry.name, &object);
  return true;
}

void HostProcess::WaitForStop() const {
  std::vector<HANDLE> signals = {StopSignal()};
  for (const auto& host : hosts_)
    signals.push_back(host->stop());
  WaitForMultipleObjects(static_cast<DWORD>(signals.size()), signals.data(), /*waitAll=*/FALSE,
                         INFINITE);
}

void HostProcess::StopPlugins() {
  StartStopLimit();
  supervision_.EndRestarts();
  if (intakes_open_) {
    for (const auto& plugin : plugins_) {
      if (plugin->intake != nullptr) plugin->intake->CloseIntake();
    }
  }
  for (Plugin* const plugin : StopOrder()) {
    ORN_LOG(logging::kInformation, kFunction, L"Plug-in \"%s\" stops", plugin->entry->name.c_str());
    plugin->object.get()->Stop();
    Step();
  }
  for (const auto& plugin : plugins_ | std::views::reverse) {
    if (const uint32_t references = components_.Remove(plugin->entry->name); references != 0) {
      ORN_LOG(logging::kInformation, kFunction, L"Plug-in \"%s\" goes with %u references out",
              plugin->entry->name.c_str(), references);
    }
    plugin->object.get()->UnInit();
    Step();
  }
}

void HostProcess::Step() const {
  if (watcher_ != nullptr) watcher_->OnStep();
}

std::vector<HostProcess::Plugin*> HostProcess::StopOrder() const {
  std::vector<Plugin*> order;
  for (const auto& plugin : plugins_ | std::views::reverse)
    order.push_back(plugin.get());
  const auto place = [&](const Plugin* plugin) {
    return std::ranges::find(configuration_.first_to_stop, plugin->entry->name) -
           configuration_.first_to_stop.begin();
  };
  // Those that are not named there share the last place, and keep their order.
  std::ranges::stable_sort(order, {}, place);
  return order;
}

void HostProcess::StartStopLimit() {
  // Never joined: it ends with the process, or ends it.
  std::thread([this] {
    orn::SetThreadName(L"StopLimit");
    Sleep(configuration_.stop_limit * 1000);
    ReportError(Problem(configuration_.file, 0,
                        L"host \"" + configuration_.name + L"\" did not stop in time and is ended",
                        error::kTimeout));
    End(1);
  }).detach();
}

void HostProcess::End(uint32_t exit_code) {
  ORN_LOG(logging::kNotice, kFunction, L"Host %s ends with code %u", configuration_.name.c_str(),
          exit_code);
  log_.End();
  if (watcher_ != nullptr) watcher_->OnEnd(exit_code);
  TerminateProcess(GetCurrentProcess(), exit_code);
  for (;;)
    Sleep(INFINITE);
}

}  // namespace host
