#include "host/console/providers.h"

#include "host/service/report.h"

namespace host::console {
namespace {

constexpr const wchar_t* kLibrary = L"RemoteAccess.dll";

bool Fail(const wchar_t* plugin, const wchar_t* what, uint32_t code) {
  ReportError(L"Plug-in \"" + std::wstring(plugin) + L"\": " + what + L": " + DescribeCode(code));
  return false;
}

}  // namespace

bool Providers::Prepare(Plugin& plugin) {
  if (plugin.initialised) return true;
  if (const uint32_t status = plugin.object.Load(kLibrary, plugin.name); status != 0) {
    return Fail(plugin.name, L"it cannot be loaded", status);
  }
  if (const int32_t status = plugin.object.get()->Init(&main_); status != 0) {
    plugin.object.Unload();
    return Fail(plugin.name, L"Init failed", static_cast<uint32_t>(status));
  }
  plugin.initialised = true;
  return true;
}

bool Providers::Start(Plugin& plugin) {
  const int32_t status = plugin.object.get()->Start();
  if (status != 0) return Fail(plugin.name, L"Start failed", static_cast<uint32_t>(status));
  plugin.started = true;
  return true;
}

void Providers::End(Plugin& plugin) {
  if (plugin.started) plugin.object.get()->Stop();
  if (plugin.initialised) plugin.object.get()->UnInit();
  plugin.object.Unload();
  plugin.started = plugin.initialised = false;
}

bool Providers::Prepare() {
  return Prepare(tasks_) && Prepare(banner_);
}

bool Providers::Start() {
  if (Prepare() && Start(tasks_) && Start(banner_)) return true;
  End();
  return false;
}

void Providers::End() {
  End(banner_);
  End(tasks_);
}

void Providers::RenewBanner() {
  End(banner_);
  // Where it fails the next check tries again.
  if (Prepare(banner_)) Start(banner_);
}

}  // namespace host::console
