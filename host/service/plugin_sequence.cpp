#include "host/service/plugin_sequence.h"

#include <algorithm>
#include <ranges>

#include "host/service/report.h"
#include "module/frame/error_codes.h"
#include "module/frame/log.h"

namespace host {
namespace {

constexpr const wchar_t* kFunction = L"host::PluginSequence";

}  // namespace

bool PluginSequence::Start() {
  for (const PluginEntry& entry : configuration_.plugins) {
    auto plugin = std::make_unique<Plugin>();
    plugin->entry = &entry;
    if (StartPlugin(*plugin)) {
      plugins_.push_back(std::move(plugin));
    } else {
      // It stays loaded: a thread of its own may still be about.
      static_cast<void>(plugin.release());
      if (!entry.optional) return false;
    }
    step_();
  }
  return true;
}

void PluginSequence::OpenIntakes() {
  intakes_open_ = true;
  for (const auto& plugin : plugins_) {
    if (plugin->intake != nullptr) plugin->intake->OpenIntake();
  }
}

void PluginSequence::CloseIntakes() {
  if (!intakes_open_) return;
  for (const auto& plugin : plugins_) {
    if (plugin->intake != nullptr) plugin->intake->CloseIntake();
  }
}

bool PluginSequence::StartPlugin(Plugin& plugin) {
  const PluginEntry& entry = *plugin.entry;
  const auto fail = [&](const std::wstring& what, uint32_t code) {
    ReportError(DescribeProblem(configuration_.file, entry.line,
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
  if (const int32_t status = object.Init(&main_); status != 0) {
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

void PluginSequence::Stop() {
  for (Plugin* const plugin : StopOrder()) {
    ORN_LOG(logging::kInformation, kFunction, L"Plug-in \"%s\" stops", plugin->entry->name.c_str());
    plugin->object.get()->Stop();
    step_();
  }
  for (const auto& plugin : plugins_ | std::views::reverse) {
    if (const uint32_t references = components_.Remove(plugin->entry->name); references != 0) {
      ORN_LOG(logging::kInformation, kFunction, L"Plug-in \"%s\" goes with %u references out",
              plugin->entry->name.c_str(), references);
    }
    plugin->object.get()->UnInit();
    step_();
  }
}

std::vector<IServPlugin*> PluginSequence::plugins() const {
  std::vector<IServPlugin*> running;
  for (const auto& plugin : plugins_)
    running.push_back(plugin->object.get());
  return running;
}

std::vector<PluginSequence::Plugin*> PluginSequence::StopOrder() const {
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

}  // namespace host
